#include "app/application.h"
#include "app/skin_root.h"
#include "app/style.h"
#include "app/translation.h"
#include "app/window.h"
#include "device/qv/result.h"
#include "ui/error_report.h"
#if JUCE_LINUX
 #include "ui/atspi/loader.h"
#endif

namespace
{
    // Built once, from the first style element seen, and kept until the process ends.
    void install_style (const juce::XmlElement& element)
    {
        static style look (element);
        juce::Desktop::getInstance().setDefaultLookAndFeel (&look);
    }
}

application::application() = default;

application::~application() = default;

const juce::String application::getApplicationName() { return JUCE_APPLICATION_NAME_STRING; }

const juce::String application::getApplicationVersion() { return JUCE_APPLICATION_VERSION_STRING; }

bool application::moreThanOneInstanceAllowed() { return false; }

void application::initialise (const juce::String& commandLine)
{
    try
    {
        start (commandLine);
    }
    catch (...)
    {
        fail();
    }
}

void application::start (const juce::String& commandLine)
{
    if (auto translation = chosen_translation (commandLine))
        juce::LocalisedStrings::setCurrentMappings (translation.release());

    auto root = parse_skin();

    if (auto* element = root->getChildByName ("style"))
        install_style (*element);

    main_window = std::make_unique<window> (*root);
#if JUCE_LINUX
    screen_readers = atspi::loaded_bridge::load();
#endif
}

void application::fail()
{
    show_failure_box (describe_failure (std::current_exception()));
    systemRequestedQuit();
}

void application::unhandledException (const std::exception*, const juce::String&, int)
{
    // JUCE calls this from inside its catch block around each dispatched event, so the
    // failure that escaped a click is still the current exception here.
    report_escaped_failure (std::current_exception());
}

void application::shutdown()
{
#if JUCE_LINUX
    screen_readers = nullptr;
#endif
    main_window = nullptr;
    juce::LocalisedStrings::setCurrentMappings (nullptr);
}
