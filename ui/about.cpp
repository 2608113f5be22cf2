#include "ui/about.h"
#include "ui/attribute.h"
#include "ui/page_access.h"
#include "ui/page_picture.h"
#include "skin/image_lookup.h"

namespace
{
    // A page without an `info` element still gets its line, placed by the defaults.
    const juce::XmlElement& info_element (const juce::XmlElement& page)
    {
        static const juce::XmlElement none ("info");
        auto* info = page.getChildByName ("info");
        return info != nullptr ? *info : none;
    }
}

juce::String about::information()
{
    return juce::String (JUCE_APPLICATION_NAME_STRING) + " " + JUCE_APPLICATION_VERSION_STRING + " "
         + juce::String (juce::CharPointer_UTF8 ("\xc2\xa9 2026 Kelto Audio GmbH. All rights reserved."));
}

about::about (const juce::XmlElement& element)
    : juce::XmlElement (element),
      background (image_lookup (string_attribute (element, "background"))),
      info (info_element (element), information(), background.getWidth(), background.getHeight()),
      update (juce::String())
{
    info.setVisible (true);
    addChildComponent (info, -1);

    auto* button = getChildByName ("update");
    if (button == nullptr)
    {
        make_accessible (*this);
        return;
    }

    update.setName (string_attribute (*button, "url"));
    update.setImages (true, true, true,
                      image_lookup (string_attribute (*button, "off")), 1.0f, juce::Colour(),
                      image_lookup (string_attribute (*button, "over")), 1.0f, juce::Colour(),
                      image_lookup (string_attribute (*button, "on")), 1.0f, juce::Colour(),
                      0.0f);
    const int y = juce_integer_attribute (*button, "y", 0);
    const int x = juce_integer_attribute (*button, "x", 0);
    update.setBounds (x, y, update.getWidth(), update.getHeight());
    update.setTooltip (juce::translate (string_attribute (*button, "tooltip")));
    update.setVisible (true);
    addChildComponent (update, -1);
    update.addListener (this);
    make_accessible (*this);
}

about::~about() = default;

void about::visibilityChanged()
{
    fit_tabs_to_page_picture (*this, background);
}

void about::paint (juce::Graphics& g)
{
    paint_page_picture (g, background);
}

void about::buttonClicked (juce::Button* b)
{
    if (b == &update)
        juce::URL (update.getName()).launchInDefaultBrowser();
}
