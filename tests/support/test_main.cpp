#include <gtest/gtest.h>
#include <juce_gui_basics/juce_gui_basics.h>

#if ! defined(_WIN32)
#include "tests/support/virtual_interface.h"

#include <cstdlib>
#include <cstring>
#endif

int main (int argc, char** argv)
{
#if ! defined(_WIN32)
    if (argc == 3 && std::strcmp (argv[1], virtual_interface::hold_option) == 0)
        virtual_interface::hold_until_killed (argv[2]);
    // Without DISPLAY, JUCE opens :0, which may be another test's display: when that one
    // goes, Xlib ends this process. A display that cannot exist keeps the tests headless.
    ::setenv ("DISPLAY", ":65535", 0);
#endif
    ::testing::InitGoogleTest (&argc, argv);
    // Without a factory set, a test binary on an X display dies on the first X error.
    juce::JUCEApplicationBase::createInstance = [] () -> juce::JUCEApplicationBase* { return nullptr; };
    juce::ScopedJuceInitialiser_GUI juce;
    return RUN_ALL_TESTS();
}
