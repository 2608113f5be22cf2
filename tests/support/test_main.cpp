#include <gtest/gtest.h>
#include <juce_gui_basics/juce_gui_basics.h>

namespace
{
    // JUCE wants an application object to exist before its GUI starts; without one a test
    // binary run on an X display dies on the first X error.
    struct test_application : juce::JUCEApplicationBase
    {
        const juce::String getApplicationName() override { return "veltrano tests"; }
        const juce::String getApplicationVersion() override { return "0"; }
        bool moreThanOneInstanceAllowed() override { return true; }
        void initialise (const juce::String&) override {}
        void shutdown() override {}
        void anotherInstanceStarted (const juce::String&) override {}
        void systemRequestedQuit() override {}
        void suspended() override {}
        void resumed() override {}
        void unhandledException (const std::exception*, const juce::String&, int) override {}
    };
}

int main (int argc, char** argv)
{
    ::testing::InitGoogleTest (&argc, argv);
    juce::JUCEApplicationBase::createInstance = [] () -> juce::JUCEApplicationBase* { return nullptr; };
    juce::ScopedJuceInitialiser_GUI juce;
    return RUN_ALL_TESTS();
}
