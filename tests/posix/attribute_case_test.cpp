// A skin may spell attribute names in any letter case: the real skin with every attribute
// name in capitals builds exactly what the real skin builds.
#include "app/skin_root.h"
#include "app/style.h"
#include "tests/support/virtual_interface.h"
#include "ui/about.h"
#include "ui/button.h"
#include "ui/view.h"

#include <gtest/gtest.h>

namespace
{
    // Upper-cases every attribute name below `e`, or with `unread` makes each one unknown.
    void rename_attributes (juce::XmlElement& e, bool unread)
    {
        juce::StringPairArray attributes;
        for (int i = 0; i < e.getNumAttributes(); ++i)
            attributes.set (unread ? "unread_" + e.getAttributeName (i) : e.getAttributeName (i).toUpperCase(), e.getAttributeValue (i));
        e.removeAllAttributes();
        for (auto& name : attributes.getAllKeys())
            e.setAttribute (name, attributes[name]);
        for (auto* child : e.getChildIterator())
            rename_attributes (*child, unread);
    }

    // What a page shows: every component with its place, name, tooltip, pictures, text,
    // parameter and menu.
    void describe (juce::Component& c, juce::String& out)
    {
        out << c.getBounds().toString() << " " << c.getName();
        if (auto* tip = dynamic_cast<juce::SettableTooltipClient*> (&c))
            out << " tip:" << tip->getTooltip();
        if (auto* b = dynamic_cast<juce::ImageButton*> (&c))
            for (const auto& picture : { b->getNormalImage(), b->getOverImage(), b->getDownImage() })
                out << " picture:" << picture.getBounds().toString();
        if (auto* l = dynamic_cast<juce::Label*> (&c))
            out << " text:" << l->getText() << " " << l->getFont().getHeight() << " " << l->findColour (juce::Label::textColourId).toString();
        if (auto* control = dynamic_cast<button*> (&c))
        {
            out << " on:" << (int) control->getToggleState() << " id:" << (int) control->parameter() << " " << control->on_value() << "/" << control->off_value();
            for (juce::PopupMenu::MenuItemIterator items (*control); items.next();)
                out << " " << items.getItem().itemID << "=" << items.getItem().text;
        }
        out << "\n";
        for (auto* child : c.getChildren())
            describe (*child, out);
    }

    juce::String built_from (const juce::XmlElement& root, device& d)
    {
        juce::String out;
        style look (*root.getChildByName ("style"));
        out << look.getPopupMenuFont().getHeight();
        for (int id : { (int) juce::Label::textColourId, (int) juce::TabbedComponent::backgroundColourId, (int) juce::TooltipWindow::backgroundColourId,
                        (int) juce::TooltipWindow::textColourId, (int) juce::ResizableWindow::backgroundColourId })
            out << " " << look.findColour (id).toString();
        out << "\n";

        about info (*root.getChildByName ("about"));
        describe (info, out);
        view page (*root.getChildByName ("device"), d);
        describe (page, out);
        if (page.mode_button().getName().isNotEmpty())
        {
            page.buttonClicked (const_cast<juce::ImageButton*> (&page.mode_button()));
            describe (page, out);
        }
        return out;
    }
}

TEST (attribute_case, capitals_read_like_the_skins_own_names)
{
    temporary_bus bus;
    virtual_interface vi (bus, "a", block_option ({ 0, 40, 40, 40, 20, 20, 20, 20, 255, 0, 255, 0, 255, 0, 0, 0 }));
    qv::driver<os_result, device> list;
    auto& d = *list.front();

    const auto expected = built_from (*parse_skin(), d);
    auto capitals = parse_skin(), none = parse_skin();
    rename_attributes (*capitals, false);
    rename_attributes (*none, true);
    EXPECT_EQ (built_from (*capitals, d), expected);
    EXPECT_NE (built_from (*none, d), expected) << "the attributes must make a difference";
}
