#include "ui/view.h"
#include "ui/attribute.h"
#include "ui/page_access.h"
#include "ui/page_picture.h"
#include "skin/image_lookup.h"

namespace
{
    void set_images (juce::ImageButton& b, const juce::String& on, const juce::String& over, const juce::String& off)
    {
        const auto down = image_lookup (on);
        const auto hover = image_lookup (over);
        const auto normal = image_lookup (off);
        b.setImages (true, true, true,
                     normal, 1.0f, juce::Colour(),
                     hover, 1.0f, juce::Colour(),
                     down, 1.0f, juce::Colour(),
                     0.0f);
        // JUCE keeps the old size for a null picture: an unseen button would still take clicks.
        if (! normal.isValid())
            b.setSize (0, 0);
    }

    void place (juce::Component& c, const juce::XmlElement& element)
    {
        const int y = integer_attribute (element, "y");
        const int x = integer_attribute (element, "x");
        c.setBounds (x, y, c.getWidth(), c.getHeight());
    }

    int version_part (std::uint32_t word, int shift) { return static_cast<int> ((word >> shift) & 0xFF); }
}

bool view::gated (std::uint32_t firmware) { return firmware < 0x01010100u; }

juce::String view::version_line (std::uint32_t driver, std::uint32_t firmware)
{
    // No blank after the first colon, one after the second: the line has always read so.
    // A translation is text, never format: its "%" must not consume an argument.
    const auto word = [] (const char* key) { return juce::translate (key).replace ("%", "%%"); };
    const auto format = word ("Driver") + ":" + "%d.%d.%d" + " " + word ("Firmware") + ": " + "%d.%d.%d";
    return juce::String::formatted (format,
                                    version_part (driver, 24), version_part (driver, 16), version_part (driver, 8),
                                    version_part (firmware, 24), version_part (firmware, 16), version_part (firmware, 8));
}

view::view (const juce::XmlElement& element, ::device& d)
    : juce::XmlElement (element),
      device (&d),
      mode (juce::String()),
      update (juce::String())
{
    background = image_lookup (string_attribute (*this, "background"));

    if (! gated (device->firmware))
    {
        try
        {
            build_page (layout (string_attribute (*this, "startup", "easy")));
        }
        catch (...)
        {
            // No destructor runs for a view that is not made: its controls go here.
            clear_page();
            throw;
        }
        mode.setVisible (true);
        addChildComponent (mode, -1);
        mode.addListener (this);
    }

    // Also on the gated page, where it never gets an image and so stays out of sight.
    update.setVisible (true);
    addChildComponent (update, -1);
    update.addListener (this);
    make_accessible (*this);
}

view::~view()
{
    clear_page();
}

const juce::XmlElement* view::layout (const juce::String& tag) const
{
    for (auto* child : getChildIterator())
        if (child->getTagName() == tag)
            return child;
    return nullptr;
}

void view::build_page (const juce::XmlElement* page)
{
    clear_page();
    if (page == nullptr)
        throw qv::invalid_data(); // a layout the skin does not have

    background = image_lookup (string_attribute (*page, "background", "resource::easy_png"));

    set_images (mode,
                string_attribute (*page, "on", "resource::expert_on_png"),
                string_attribute (*page, "over", "resource::expert_over_png"),
                string_attribute (*page, "off", "resource::expert_off_png"));
    place (mode, *page);
    mode.setTooltip (juce::translate (string_attribute (*page, "tooltip")));
    mode.setName (string_attribute (*page, "alternate"));

    for (auto* child : page->getChildIterator())
    {
        const auto tag = child->getTagName();
        if (tag == "info")
        {
            info = std::make_unique<label> (*child, version_line (device->version, device->firmware),
                                            background.getWidth(), background.getHeight());
            info->setVisible (true);
            addChildComponent (*info, -1);
        }
        else if (tag == "update")
        {
            update.setName (string_attribute (*child, "url"));
            set_images (update, string_attribute (*child, "on"), string_attribute (*child, "over"),
                        string_attribute (*child, "off"));
            place (update, *child);
            update.setTooltip (juce::translate (string_attribute (*child, "tooltip")));
        }
        else
        {
            auto control = std::make_unique<button> (*child, *device);
            push_back (control.get());
            auto* b = control.release();
            b->setVisible (true);
            addChildComponent (b, -1);
            b->addListener (this);
        }
    }
    make_accessible (*this);
}

void view::clear_page()
{
    info = nullptr;
    for (auto* b : *this)
        delete b;
    clear();
}

void view::buttonClicked (juce::Button* b)
{
    if (b == &mode)
    {
        build_page (layout (mode.getName()));
        fit_tabs_to_page_picture (*this, background);
    }
    else if (b == &update)
    {
        juce::URL (update.getName()).launchInDefaultBrowser();
    }
    else
    {
        for (auto* control : *this)
            control->refresh();
    }
}

void view::visibilityChanged()
{
    fit_tabs_to_page_picture (*this, background);
}

void view::paint (juce::Graphics& g)
{
    paint_page_picture (g, background);
}
