// The controls and the device page against real virtual interfaces: what a click does
// to the interface's block, the firmware gate, the version line and layout switching.
#include "app/skin_root.h"
#include "skin/image_lookup.h"
#include "tests/support/allocation_failure.h"
#include "tests/support/scripted_menu.h"
#include "tests/support/test_interface.h"
#include "tests/support/thrown_code.h"
#include "tests/support/virtual_interface.h"
#include "ui/button.h"
#include "ui/view.h"

#include <gtest/gtest.h>

#include <optional>

class panel : public ::testing::Test
{
protected:
    std::unique_ptr<juce::XmlElement> root = parse_skin();
    temporary_bus bus;
    std::optional<virtual_interface> vi;
    std::optional<qv::driver<os_result, device>> list;

    device& plug (std::vector<std::string> options = {})
    {
        list.reset();
        vi.emplace (bus, "a", std::move (options));
        list.emplace();
        return *list->front();
    }
    static void flip (view& page) { page.buttonClicked (const_cast<juce::ImageButton*> (&page.mode_button())); }
    const juce::XmlElement& device_element() { return *root->getChildByName ("device"); }
    const juce::XmlElement& control (const char* layout, const char* tag) { return *device_element().getChildByName (layout)->getChildByName (tag); }
};

// A switch shows "on" unless its byte holds `min`, and each click writes the other value;
// the rest of the block goes back as the interface had it.
TEST_F (panel, switches_toggle_their_byte_between_min_and_max)
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
        auto& d = plug (block_option (block_with ({ { c.byte, c.initial }, { 1, 40 } })));
        juce::XmlElement element (control ("easy", c.tag));
        if (c.min != nullptr)
            element.setAttribute ("min", c.min), element.setAttribute ("max", c.max);
        button control (element, d);
        EXPECT_EQ (control.getToggleState(), c.shown);
        for (auto& expected : c.clicks)
        {
            control.clicked();
            EXPECT_EQ (control.getToggleState(), expected.shown);
            EXPECT_EQ (vi->block()[(std::size_t) c.byte], expected.written);
            EXPECT_EQ (vi->block()[1], 40);
        }
    }
}

// Opening takes three requests and every later one fails, so the failures show which
// clicks reach the interface.
TEST_F (panel, only_clicks_that_change_something_reach_the_interface)
{
    auto& d = plug ({ "--fail-after", "4" });
    juce::XmlElement element ("stray");
    element.setAttribute ("id", "99");
    button stray (element, d);
    EXPECT_NO_THROW (stray.clicked()) << "an id beyond the block addresses nothing";
    EXPECT_FALSE (stray.getToggleState());

    button gain (control ("expert", "input_gain1"), d);
    const auto before = vi->block();
    for (int nothing : { 0, 256 /* low byte 0 */ })
    {
        scripted_menu dismissed (nothing);
        EXPECT_NO_THROW (gain.clicked());
        EXPECT_EQ (dismissed.shown.size(), 1u);
    }
    EXPECT_EQ (vi->block(), before);
    // The read passes, the write fails: the switch keeps showing its new state.
    button phantom (control ("easy", "phantom_power_2"), d);
    EXPECT_EQ (thrown_code ([&] { phantom.clicked(); }), EIO);
    EXPECT_TRUE (phantom.getToggleState());
    EXPECT_EQ (d.parameters[11], 255);
    EXPECT_EQ (vi->block()[11], 0);
    scripted_menu chosen (12);
    EXPECT_EQ (thrown_code ([&] { gain.clicked(); }), EIO) << "a real choice does reach the interface";
}

TEST_F (panel, firmware_1_1_0_gets_the_disabled_picture_alone_and_1_1_1_the_easy_layout_which_the_mode_button_switches)
{
    {
        view page (device_element(), plug ({ "--firmware", "1.1.0" }));
        EXPECT_TRUE (page.empty());
        EXPECT_EQ (page.information(), nullptr);
        EXPECT_EQ (page.getNumChildComponents(), 1);
        EXPECT_EQ (page.picture().getBounds(), image_lookup ("resource::disabled_png").getBounds());
    }
    auto& d = plug ({ "--firmware", "1.1.1" });
    const auto held = d.count.load();
    auto* page = new view (device_element(), d);
    EXPECT_EQ (d.count.load(), held + 1 + 5) << "the page and its five controls hold the device";
    juce::TabbedComponent tabs (juce::TabbedButtonBar::TabsAtTop);
    tabs.addTab ("a", juce::Colours::black, page, true);
    tabs.setCurrentTabIndex (0);
    EXPECT_EQ (page->picture().getBounds(), image_lookup ("resource::easy_png").getBounds());
    EXPECT_EQ (page->getNumChildComponents(), 5 + 3);

    struct { const char *layout, *other; unsigned count; } flips[] = { { "expert", "easy", 12 }, { "easy", "expert", 5 } };
    for (auto [layout, other, count] : flips)
    {
        flip (*page);
        EXPECT_EQ (page->size(), count);
        EXPECT_EQ (page->mode_button().getName(), other);
        const auto picture = image_lookup (juce::String ("resource::") + layout + "_png");
        EXPECT_EQ (tabs.getWidth(), picture.getWidth());
        EXPECT_EQ (tabs.getHeight(), picture.getHeight() + 30);
        EXPECT_EQ (page->getNumChildComponents(), (int) count + 3);
    }
}

TEST_F (panel, a_click_on_one_control_refreshes_all_of_them)
{
    view page (device_element(), plug());
    page.setVisible (true);
    // Two switches showing what the block does not say: the refresh after any click fixes them.
    page[0]->setToggleState (true, juce::dontSendNotification);
    page[4]->setToggleState (true, juce::dontSendNotification);
    page[2]->triggerClick();
    ASSERT_TRUE (pump_until ([&] { return vi->block()[10] == 255; }, 2000));
    pump_for (20);
    EXPECT_TRUE (page[2]->getToggleState());
    EXPECT_FALSE (page[0]->getToggleState());
    EXPECT_FALSE (page[4]->getToggleState());
}

TEST_F (panel, broken_layouts)
{
    auto& d = plug();
    juce::XmlElement element (device_element());
    element.setAttribute ("startup", "nothing");
    EXPECT_EQ (thrown_code ([&] { view page (element, d); }), EINVAL);
    element.setAttribute ("startup", "easy");
    {
        // A layout without a mode picture leaves no button to click.
        element.getChildByName ("expert")->setAttribute ("off", "resource::none");
        view page (element, d);
        ASSERT_FALSE (page.mode_button().getBounds().isEmpty());
        flip (page);
        EXPECT_EQ (page.mode_button().getName(), "easy");
        EXPECT_TRUE (page.mode_button().getBounds().isEmpty());
    }
    // A missing alternate layout throws after clearing the page.
    element.getChildByName ("easy")->removeAttribute ("alternate");
    view page (element, d);
    EXPECT_EQ (thrown_code ([&] { flip (page); }), EINVAL);
    EXPECT_TRUE (page.empty());
    EXPECT_EQ (page.information(), nullptr);
    EXPECT_EQ (page.mode_button().getParentComponent(), &page) << "the broken page keeps its mode button";
}

TEST_F (panel, a_control_that_fails_to_build_takes_the_page_and_its_other_controls_with_it)
{
    auto& d = plug();
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
