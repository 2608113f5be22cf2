#include "app/application.h"
#include "app/skin_root.h"
#include "app/style.h"
#include "app/translation.h"
#include "app/window.h"

namespace
{
    // Built once, from the first style element seen, and kept until the process ends.
    void install_style (const juce::XmlElement& element)
    {
        static style look (element);
        juce::Desktop::getInstance().setDefaultLookAndFeel (&look);
    }

    // The system's result 13: the data is invalid.
    constexpr int invalid_data = 13;
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
        fail (juce::translate ("n/a"));
    }
}

void application::start (const juce::String& commandLine)
{
    if (auto translation = chosen_translation (commandLine))
        juce::LocalisedStrings::setCurrentMappings (translation.release());

    auto root = parse_skin();
    if (root == nullptr)
        throw invalid_data;

    if (auto* element = root->getChildByName ("style"))
        install_style (*element);

    main_window = std::make_unique<window> (*root);
}

void application::fail (const juce::String& message)
{
    juce::AlertWindow::showOkCancelBox (juce::MessageBoxIconType::WarningIcon,
                                        getApplicationName() + " " + juce::translate ("Exception"),
                                        message, {}, {}, nullptr, nullptr);
    systemRequestedQuit();
}

void application::shutdown()
{
    main_window = nullptr;
    juce::LocalisedStrings::setCurrentMappings (nullptr);
}
