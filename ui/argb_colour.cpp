#include "ui/argb_colour.h"

#include <cmath>
#include <cstdint>

juce::Colour argb_colour (const juce::String& text)
{
    const double value = text.getDoubleValue();
    // Out-of-range or non-finite text must not reach the integer conversion (undefined).
    if (! std::isfinite (value) || std::abs (value) >= 9.2e18)
        return juce::Colour();
    return juce::Colour ((juce::uint32) (std::uint64_t) (std::int64_t) value);
}
