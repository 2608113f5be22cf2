#pragma once

#include <juce_gui_basics/juce_gui_basics.h>
#include <memory>

class window;
#if JUCE_LINUX
namespace atspi { class loaded_bridge; }
#endif

// The program: one instance only; start-up installs the translation, the style and the
// main window, and any failure on the way ends in a warning box and quits.
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
    void unhandledException (const std::exception* e, const juce::String& sourceFilename, int lineNumber) override;

private:
    void start (const juce::String& commandLine);
    void fail();

    std::unique_ptr<window> main_window;
#if JUCE_LINUX
    std::unique_ptr<atspi::loaded_bridge> screen_readers; // AT-SPI; Windows' UI Automation is JUCE's own
#endif
};
