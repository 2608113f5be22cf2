#include "app/skin_root.h"
#include "skin/document.h"
#include "skin/program_folder.h"
#include "device/qv/result.h"

std::unique_ptr<juce::XmlElement> parse_skin (const char* document)
{
    // The path itself, not the file it names, is handed to the parser: it never yields an
    // element, so a preferences.xml beside the program has no effect. Kept on purpose.
    auto root = juce::XmlDocument (program_folder() + "preferences.xml").getDocumentElement();
    if (root == nullptr)
        root = juce::XmlDocument (juce::String::fromUTF8 (document != nullptr ? document : skin_document_text())).getDocumentElement();
    if (root == nullptr)
        throw qv::invalid_data();
    return root;
}
