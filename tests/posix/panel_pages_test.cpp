// The controls and the device page against real virtual interfaces: what a click does
// to the interface's block, the firmware gate, the version line and layout switching.
#include "app/skin_root.h"
#include "skin/image_lookup.h"
#include "skin/translation_tables.h"
#include "tests/support/allocation_failure.h"
#include "tests/support/scripted_menu.h"
#include "tests/support/test_interface.h"
#include "tests/support/thrown_code.h"
#include "tests/support/virtual_interface.h"
#include "ui/button.h"
#include "ui/view.h"

#include "tests/support/file_beside_program.h"

#include <gtest/gtest.h>


namespace
{
    using device_list = qv::driver<os_result, device>;

    const juce::XmlElement& skin_control (const juce::XmlElement& root, const char* layout, const char* tag)
    {
        return *root.getChildByName ("device")->getChildByName (layout)->getChildByName (tag);
    }

    std::vector<juce::String> names_of (const view& page)
    {
        std::vector<juce::String> names;
        for (auto* b : page)
            names.push_back (b->getName());
        return names;
    }
}

class panel_controls : public ::testing::Test
{
protected:
    std::unique_ptr<juce::XmlElement> root = parse_skin();
    temporary_bus bus;
};

// A switch shows "on" unless its byte holds `min`, and each click writes the other value;
// the rest of the block goes back as the interface had it.
TEST_F (panel_controls, switches_toggle_their_byte_between_min_and_max)
{
    struct click { bool shown; int written; };
    struct switch_case { const char* tag; int byte, initial; const char *min, *max; bool shown; std::vector<click> clicks; };
    const switch_case cases[] = {
        { "phantom_power_1", 10, 0, nullptr, nullptr, false, { { true, 255 }, { false, 0 } } },
        { "monitoring", 8, 7, nullptr, nullptr, false, { { false, 0 }, { true, 255 } } },
        { "highz", 9, 1, "1", "258" /* 8 bits: 2 */, true, { { false, 2 }, { true, 1 } } },
    };
    for (auto& c : cases)
    {
        SCOPED_TRACE (c.tag);
        virtual_interface vi (bus, c.tag, block_option (block_with ({ { c.byte, c.initial }, { 1, 40 } })));
        device_list list;
        juce::XmlElement element (skin_control (*root, "easy", c.tag));
        if (c.min != nullptr)
            element.setAttribute ("min", c.min), element.setAttribute ("max", c.max);
        button control (element, *list.front());
        EXPECT_EQ (control.parameter(), (unsigned) c.byte);
        EXPECT_EQ (control.getToggleState(), c.shown);
        for (auto& expected : c.clicks)
        {
            control.clicked();
            EXPECT_EQ (control.getToggleState(), expected.shown);
            EXPECT_EQ (vi.block()[(std::size_t) c.byte], expected.written);
            EXPECT_EQ (vi.block()[1], 40);
        }
    }
}

TEST_F (panel_controls, a_dismissed_menu_does_not_touch_the_interface)
{
    // Opening takes three requests; any fourth would fail.
    virtual_interface vi (bus, "a", { "--fail-after", "3" });
    device_list list;
    button gain (skin_control (*root, "expert", "input_gain1"), *list.front());
    const auto before = vi.block();

    {
        scripted_menu dismissed (0);
        EXPECT_NO_THROW (gain.clicked());
        EXPECT_EQ (dismissed.shown.size(), 1u);
    }
    {
        scripted_menu step_of_256 (256); // low byte 0: nothing either
        EXPECT_NO_THROW (gain.clicked());
    }
    EXPECT_EQ (vi.block(), before);

    scripted_menu chosen (12);
    EXPECT_EQ (thrown_code ([&] { gain.clicked(); }), EIO) << "a real choice does reach the interface";
}

TEST_F (panel_controls, a_failed_write_leaves_the_switch_showing_its_new_state)
{
    virtual_interface vi (bus, "a", { "--fail-after", "4" }); // the read passes, the write fails
    device_list list;
    button phantom (skin_control (*root, "easy", "phantom_power_2"), *list.front());
    EXPECT_EQ (thrown_code ([&] { phantom.clicked(); }), EIO);
    EXPECT_TRUE (phantom.getToggleState());
    EXPECT_EQ (list.front()->parameters[11], 255);
    EXPECT_EQ (vi.block()[11], 0);
}

TEST_F (panel_controls, skin_places_and_pictures_each_control)
{
    virtual_interface vi (bus, "a");
    device_list list;
    button headphone (skin_control (*root, "easy", "headphone"), *list.front());
    EXPECT_EQ (headphone.getName(), "headphone");
    EXPECT_EQ (headphone.getPosition(), juce::Point<int> (262, 103));
    EXPECT_EQ (headphone.getWidth(), image_lookup ("resource::phones34_png").getWidth());
    EXPECT_TRUE (headphone.getOverImage() == headphone.getNormalImage()) << "no over picture: the normal one shows";
    EXPECT_EQ (headphone.getTooltip(), "Select headset source channels 1/2 or 3/4");

    juce::XmlElement bare ("anything");
    button nothing (bare, *list.front());
    EXPECT_EQ (nothing.parameter(), 0u);
    EXPECT_EQ (nothing.on_value(), 255);
    EXPECT_EQ (nothing.off_value(), 0);
    EXPECT_EQ (nothing.getWidth(), 0);
}

TEST_F (panel_controls, an_id_beyond_the_block_addresses_nothing)
{
    virtual_interface vi (bus, "a", { "--fail-after", "3" });
    device_list list;
    juce::XmlElement element ("stray");
    element.setAttribute ("id", "99");
    button stray (element, *list.front());
    EXPECT_NO_THROW (stray.clicked());
    EXPECT_FALSE (stray.getToggleState());
}

class device_page : public panel_controls
{
protected:
    const juce::XmlElement& device_element() { return *root->getChildByName ("device"); }
};

TEST_F (device_page, firmware_1_1_0_gets_the_disabled_picture_alone)
{
    virtual_interface vi (bus, "old", { "--firmware", "1.1.0" });
    device_list list;
    view page (device_element(), *list.front());
    EXPECT_TRUE (page.empty());
    EXPECT_EQ (page.information(), nullptr);
    EXPECT_FALSE (page.getChildren().contains (const_cast<juce::ImageButton*> (&page.mode_button())));
    EXPECT_EQ (page.update_button().getWidth(), 0);
    EXPECT_EQ (page.getNumChildComponents(), 1);
    const auto disabled = image_lookup ("resource::disabled_png");
    EXPECT_EQ (page.picture().getBounds(), disabled.getBounds());
}

TEST_F (device_page, firmware_1_1_1_gets_the_easy_layout)
{
    virtual_interface vi (bus, "new", { "--firmware", "1.1.1", "--driver", "2.3.4" });
    device_list list;
    view page (device_element(), *list.front());
    EXPECT_EQ (names_of (page), (std::vector<juce::String> { "monitoring", "highz", "phantom_power_1", "phantom_power_2", "headphone" }));
    ASSERT_NE (page.information(), nullptr);
    EXPECT_EQ (page.information()->juce::Label::getText(), "Driver:2.3.4 Firmware: 1.1.1");
    EXPECT_EQ (page.information()->getBounds(), juce::Rectangle<int> (26, 22, 153, 9));
    EXPECT_EQ (page.mode_button().getName(), "expert");
    EXPECT_EQ (page.mode_button().getPosition(), juce::Point<int> (397, 15));
    EXPECT_TRUE (page.update_button().getName().endsWith ("en_downloads.php"));
    EXPECT_EQ (page.update_button().getPosition(), juce::Point<int> (178, 20));
    EXPECT_EQ (page.picture().getBounds(), image_lookup ("resource::easy_png").getBounds());
    EXPECT_EQ (page.getNumChildComponents(), 5 + 3);
}

TEST_F (device_page, mode_button_rebuilds_every_control_and_fits_the_tabs)
{
    virtual_interface vi (bus, "a");
    device_list list;
    juce::TabbedComponent tabs (juce::TabbedButtonBar::TabsAtTop);
    auto* page = new view (device_element(), *list.front());
    tabs.addTab ("a", juce::Colours::black, page, true);
    tabs.setCurrentTabIndex (0);

    const auto expert = image_lookup ("resource::expert_png");
    const auto easy = image_lookup ("resource::easy_png");
    page->buttonClicked (const_cast<juce::ImageButton*> (&page->mode_button()));
    EXPECT_EQ (page->size(), 12u);
    EXPECT_EQ (names_of (*page).front(), "level_out12");
    EXPECT_EQ (page->mode_button().getName(), "easy");
    EXPECT_EQ (page->mode_button().getPosition(), juce::Point<int> (561, 16));
    EXPECT_EQ (page->update_button().getPosition(), juce::Point<int> (524, 21));
    EXPECT_EQ (page->information()->getPosition(), juce::Point<int> (373, 23));
    EXPECT_EQ (tabs.getWidth(), expert.getWidth());
    EXPECT_EQ (tabs.getHeight(), expert.getHeight() + 30);
    EXPECT_EQ (page->getNumChildComponents(), 12 + 3);

    page->buttonClicked (const_cast<juce::ImageButton*> (&page->mode_button()));
    EXPECT_EQ (page->size(), 5u);
    EXPECT_EQ (page->mode_button().getName(), "expert");
    EXPECT_EQ (tabs.getWidth(), easy.getWidth());
    EXPECT_EQ (tabs.getHeight(), easy.getHeight() + 30);
    EXPECT_EQ (page->getNumChildComponents(), 5 + 3);
    for (auto* b : *page)
        EXPECT_EQ (b->getParentComponent(), page);
}

TEST_F (device_page, a_click_on_one_control_refreshes_all_of_them)
{
    virtual_interface vi (bus, "a");
    device_list list;
    auto& d = *list.front();
    view page (device_element(), d);
    page.setVisible (true);

    // Two switches showing what the block does not say: the refresh after any click fixes them.
    page[0]->setToggleState (true, juce::dontSendNotification);
    page[4]->setToggleState (true, juce::dontSendNotification);
    page[2]->triggerClick();
    ASSERT_TRUE (pump_until ([&] { return vi.block()[10] == 255; }, 2000));
    pump_for (20);
    EXPECT_TRUE (page[2]->getToggleState());
    EXPECT_FALSE (page[0]->getToggleState());
    EXPECT_FALSE (page[4]->getToggleState());
    EXPECT_EQ (d.parameters[10], 255);
}

TEST_F (device_page, missing_layouts_throw_invalid_data_after_clearing)
{
    virtual_interface vi (bus, "a");
    device_list list;
    juce::XmlElement element (device_element());
    element.setAttribute ("startup", "nothing");
    EXPECT_EQ (thrown_code ([&] { view page (element, *list.front()); }), EINVAL);

    juce::XmlElement no_alternate (device_element());
    no_alternate.getChildByName ("easy")->removeAttribute ("alternate");
    view page (no_alternate, *list.front());
    EXPECT_EQ (page.mode_button().getName(), "");
    EXPECT_EQ (thrown_code ([&] { page.buttonClicked (const_cast<juce::ImageButton*> (&page.mode_button())); }), EINVAL);
    EXPECT_TRUE (page.empty());
    EXPECT_EQ (page.information(), nullptr);
    EXPECT_EQ (page.mode_button().getParentComponent(), &page) << "the broken page keeps its mode button";
}

TEST_F (device_page, a_layout_without_a_mode_picture_leaves_no_button_to_click)
{
    virtual_interface vi (bus, "a");
    device_list list;
    juce::XmlElement element (device_element());
    element.getChildByName ("expert")->setAttribute ("off", "resource::none");
    view page (element, *list.front());
    ASSERT_FALSE (page.mode_button().getBounds().isEmpty());
    page.buttonClicked (const_cast<juce::ImageButton*> (&page.mode_button()));
    EXPECT_EQ (page.mode_button().getName(), "easy");
    EXPECT_TRUE (page.mode_button().getBounds().isEmpty());
}

TEST_F (device_page, a_control_that_fails_to_build_takes_the_page_and_its_other_controls_with_it)
{
    virtual_interface vi (bus, "a");
    device_list list;
    auto& d = *list.front();
    const auto count = d.count.load();
    {
        view warm_up (device_element(), d); // fills the picture and font caches once
    }
    // Each control of the page in turn cannot be made.
    for (long nth = 1;; ++nth)
    {
        const auto before = allocation_failure::outstanding_bytes();
        allocation_failure::scoped failing (nth, sizeof (button));
        try
        {
            view page (device_element(), d);
        }
        catch (const std::bad_alloc&)
        {
        }
        ASSERT_EQ (allocation_failure::outstanding_bytes(), before) << "allocation " << nth;
        ASSERT_EQ (d.count.load(), count) << "allocation " << nth;
        if (! failing.failed())
            break;
    }
}

TEST_F (device_page, the_device_outlives_the_list_while_its_page_stands)
{
    virtual_interface vi (bus, "a");
    auto list = std::make_unique<device_list>();
    qv::reference<device> held = list->front();
    const auto count_before = held->count.load();
    {
        view page (device_element(), *held);
        EXPECT_EQ (held->count.load(), count_before + 1 + 5) << "the page and its five controls";
        list.reset();
    }
    EXPECT_EQ (held->count.load(), 1u);
}
