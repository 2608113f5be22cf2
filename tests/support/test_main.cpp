#include <gtest/gtest.h>
#include <juce_gui_basics/juce_gui_basics.h>

int main (int argc, char** argv)
{
    ::testing::InitGoogleTest (&argc, argv);
    // Without a factory set, a test binary on an X display dies on the first X error.
    juce::JUCEApplicationBase::createInstance = [] () -> juce::JUCEApplicationBase* { return nullptr; };
    juce::ScopedJuceInitialiser_GUI juce;
    return RUN_ALL_TESTS();
}
