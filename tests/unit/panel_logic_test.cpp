// What the device page, its controls, the tabs and the error box decide without an
// interface: switch arithmetic, gain menus from the skin, the firmware gate, the
// version line, tab titles and the text of a failure.
#include "app/skin_root.h"
#include "skin/translation_tables.h"
#include "ui/button.h"
#include "ui/container.h"
#include "ui/error_report.h"
#include "ui/view.h"

#include "tests/support/file_beside_program.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace
{
    struct menu_entry
    {
        int id;
        juce::String text;
        bool header;
    };

    std::vector<menu_entry> entries (const juce::PopupMenu& menu)
    {
        std::vector<menu_entry> result;
        for (juce::PopupMenu::MenuItemIterator items (menu); items.next();)
            result.push_back ({ items.getItem().itemID, items.getItem().text, items.getItem().isSectionHeader });
        return result;
    }

    const juce::XmlElement& control (const juce::XmlElement& root, const char* layout, const char* tag)
    {
        return *root.getChildByName ("device")->getChildByName (layout)->getChildByName (tag);
    }

    juce::PopupMenu menu_of (const juce::XmlElement& element)
    {
        juce::PopupMenu menu;
        button::fill_menu (menu, element);
        return menu;
    }
}

TEST (gain_menu, the_header_comes_first_translated_and_the_items_are_not)
{
    auto root = parse_skin();
    scoped_translation german ("\"Attenuation for output 1/2\" = \"Abschwaechung\"\n\"mute\" = \"stumm\"\n");
    const auto items = entries (menu_of (control (*root, "expert", "level_out12")));
    ASSERT_EQ (items.size(), 41u);
    EXPECT_TRUE (items[0].header);
    EXPECT_EQ (items[0].text, "Abschwaechung");
    EXPECT_EQ (items[1].id, 40);
    EXPECT_EQ (items.back().text, "mute");
}

TEST (gain_menu, children_alone_make_a_menu_and_a_header_alone_makes_one_too)
{
    auto children = juce::parseXML ("<c id=\"3\"><gain step=\"5\" item=\"a\"/><other step=\"x\"/></c>");
    const auto plain = entries (menu_of (*children));
    ASSERT_EQ (plain.size(), 2u);
    EXPECT_FALSE (plain[0].header);
    EXPECT_EQ (plain[0].id, 5);
    EXPECT_EQ (plain[1].id, 0); // garbage step reads as 0, which writes nothing

    auto header_only = juce::parseXML ("<c id=\"3\" menu=\"Levels\"/>");
    ASSERT_EQ (entries (menu_of (*header_only)).size(), 1u);
    EXPECT_TRUE (control_element::has_menu (*header_only));
    EXPECT_TRUE (control_element::has_menu (*children));
    EXPECT_FALSE (control_element::has_menu (*juce::parseXML ("<c id=\"3\" tooltip=\"t\"/>")));
}

TEST (firmware_gate, opens_at_1_1_1_whatever_the_low_byte)
{
    EXPECT_TRUE (view::gated (0x010100FF));
    EXPECT_TRUE (view::gated (0));
    EXPECT_FALSE (view::gated (0x01010100));
    EXPECT_FALSE (view::gated (0x02000000));
    EXPECT_FALSE (view::gated (0xFFFFFFFF)); // unsigned comparison
}

TEST (version_line, keeps_its_asymmetric_blank_and_takes_translated_words_as_text)
{
    EXPECT_EQ (view::version_line (0x02030400, 0x01020300), "Driver:2.3.4 Firmware: 1.2.3");
    EXPECT_EQ (view::version_line (0xFF0A09EE, 0x01010100), "Driver:255.10.9 Firmware: 1.1.1");
    scoped_translation odd ("language:Odd\n\"Driver\" = \"100% %s\"\n\"Firmware\" = \"%d%n\"\n");
    EXPECT_EQ (view::version_line (0x02030400, 0x01020300), "100% %s:2.3.4 %d%n: 1.2.3");
}

TEST (tab_title, is_the_path_byte_for_byte)
{
    EXPECT_EQ (container::title_of (""), "");
    EXPECT_EQ (container::title_of ("/run/bus/usb-1"), "/run/bus/usb-1");
    const auto high = container::title_of (std::string ("a\xe9\xff", 3));
    ASSERT_EQ (high.length(), 3);
    EXPECT_EQ (high[1], (juce::juce_wchar) 0xE9);
    EXPECT_EQ (high[2], (juce::juce_wchar) 0xFF);
}

TEST (tab_title, an_empty_one_keeps_tabs_and_pages_in_step)
{
    juce::TabbedComponent tabs (juce::TabbedButtonBar::TabsAtTop);
    juce::Component about, first, second;
    container::add_tab (tabs, "", &about, false, -1);
    container::add_tab (tabs, "", &first, false, tabs.getNumTabs() - 1);
    container::add_tab (tabs, "second", &second, false, tabs.getNumTabs() - 1);
    EXPECT_EQ (tabs.getTabNames(), juce::StringArray ({ "", "second", "" }));
    EXPECT_EQ (tabs.getTabContentComponent (0), &first);
    EXPECT_EQ (tabs.getTabContentComponent (1), &second);
    EXPECT_EQ (tabs.getTabContentComponent (2), &about);
}

namespace
{
    // Takes the box's words instead of showing it, which needs a display.
    struct box_words
    {
        juce::String title, message;
        juce::MessageBoxIconType icon;
    };
    struct recording_look : juce::LookAndFeel_V4
    {
        juce::AlertWindow* createAlertWindow (const juce::String& title, const juce::String& message, const juce::String&,
                                              const juce::String&, const juce::String&, juce::MessageBoxIconType icon,
                                              int, juce::Component*) override
        {
            throw box_words { title, message, icon };
        }
    };

    box_words failure_box_for (std::exception_ptr failure)
    {
        recording_look look;
        juce::Desktop::getInstance().setDefaultLookAndFeel (&look);
        box_words words {};
        try
        {
            show_failure_box (describe_failure (failure), juce::ModalCallbackFunction::create ([] (int) {}));
        }
        catch (const box_words& shown)
        {
            words = shown;
        }
        juce::Desktop::getInstance().setDefaultLookAndFeel (nullptr);
        return words;
    }
}

TEST (failure_box, names_the_program_and_says_what_failed)
{
#if defined(_WIN32)
    const auto denied = failure_box_for (std::make_exception_ptr (qv::os_result (5)));
    EXPECT_EQ (denied.message, juce::String (qv::message (qv::os_result (5)))); // the system's own words
    EXPECT_FALSE (denied.message.isEmpty());
#else
    const auto denied = failure_box_for (std::make_exception_ptr (qv::os_result (EACCES)));
    EXPECT_EQ (denied.message, "Permission denied");
#endif
    EXPECT_EQ (denied.title, "Kelto Veltrano Exception");
    EXPECT_EQ (denied.icon, juce::MessageBoxIconType::WarningIcon);
    EXPECT_EQ (failure_box_for (std::make_exception_ptr (std::runtime_error ("x"))).message, "n/a");

    scoped_translation german (translation_tables::german());
    const auto other = failure_box_for (std::make_exception_ptr (42));
    EXPECT_EQ (other.title, "Kelto Veltrano Ausnahmefehler");
    EXPECT_EQ (other.message, juce::String (juce::CharPointer_UTF8 ("nicht verf\xc3\xbc" "gbar")));
}
