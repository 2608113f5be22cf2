#include "app/application.h"
#include "app/window.h"
#include "skin/document.h"

application::application() = default;
application::~application() = default;

const juce::String application::getApplicationName() { return "Kelto Veltrano"; }
const juce::String application::getApplicationVersion() { return "1.0.0f48"; }
bool application::moreThanOneInstanceAllowed() { return false; }

void application::initialise (const juce::String&)
{
    std::unique_ptr<juce::XmlElement> root (juce::XmlDocument (skin_document_text()).getDocumentElement());
    main_window = std::make_unique<window> (*root);
}

void application::shutdown()
{
    main_window = nullptr;
    juce::LocalisedStrings::setCurrentMappings (nullptr);
}
