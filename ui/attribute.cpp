#include "ui/attribute.h"

#include <cstdlib>

int integer_attribute (const juce::XmlElement& element, const juce::String& name, int fallback)
{
    if (! element.hasAttribute (name))
        return fallback;
    return static_cast<int> (std::strtol (element.getStringAttribute (name).toRawUTF8(), nullptr, 10));
}
