#include "ui/attribute.h"

#include <cstdlib>

const juce::String* find_attribute (const juce::XmlElement& element, const juce::String& name)
{
    for (int i = 0; i < element.getNumAttributes(); ++i)
        if (element.getAttributeName (i).equalsIgnoreCase (name))
            return &element.getAttributeValue (i);
    return nullptr;
}

bool has_attribute (const juce::XmlElement& element, const juce::String& name)
{
    return find_attribute (element, name) != nullptr;
}

juce::String string_attribute (const juce::XmlElement& element, const juce::String& name, const juce::String& fallback)
{
    const auto* value = find_attribute (element, name);
    return value != nullptr ? *value : fallback;
}

int integer_attribute (const juce::XmlElement& element, const juce::String& name, int fallback)
{
    const auto* value = find_attribute (element, name);
    if (value == nullptr)
        return fallback;
    return static_cast<int> (std::strtol (value->toRawUTF8(), nullptr, 10));
}

int juce_integer_attribute (const juce::XmlElement& element, const juce::String& name, int fallback)
{
    const auto* value = find_attribute (element, name);
    return value != nullptr ? value->getIntValue() : fallback;
}
