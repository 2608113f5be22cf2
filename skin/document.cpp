#include "skin/document.h"
#include "skin/embedded.h"

const char* skin_document_text()
{
    static const char* text = reinterpret_cast<const char*> (find_embedded (skin::texts::files, "skin.xml")->data);
    return text;
}
