#pragma once

#include <juce_gui_basics/juce_gui_basics.h>
#include <memory>

class window;

class application : public juce::JUCEApplication
{
public:
    application();
    ~application() override;

    const juce::String getApplicationName() override;
    const juce::String getApplicationVersion() override;
    bool moreThanOneInstanceAllowed() override;
    void initialise (const juce::String& commandLine) override;
    void shutdown() override;

private:
    std::unique_ptr<window> main_window;
};
