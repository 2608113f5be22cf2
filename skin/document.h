#pragma once

// The compiled-in skin document: UTF-8 XML, null-terminated.
const char* skin_document_text();
