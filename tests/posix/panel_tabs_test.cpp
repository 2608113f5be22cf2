// The container against real virtual interfaces: a tab per interface before About, in
// order of arrival, titled by path, and the selection rules when interfaces go.
#include "app/skin_root.h"
#include "tests/support/scripted_menu.h"
#include "tests/support/virtual_interface.h"
#include "ui/container.h"
#include "ui/view.h"

#include <gtest/gtest.h>

namespace
{
    using names = std::vector<juce::String>;

    names titles (const container& tabs)
    {
        const auto t = tabs.getTabNames();
        return names (t.begin(), t.end());
    }
}

class panel_tabs : public ::testing::Test
{
protected:
    std::unique_ptr<juce::XmlElement> root = parse_skin();
    temporary_bus bus;
};

TEST_F (panel_tabs, present_interfaces_get_tabs_in_list_order_and_pulling_the_shown_one_shows_tab_0)
{
    virtual_interface one (bus, "1"), two (bus, "2"), three (bus, "3");
    container tabs (*root);
    ASSERT_EQ (tabs.size(), 3u);
    const names order { juce::String (*tabs[0]), juce::String (*tabs[1]), juce::String (*tabs[2]) };
    EXPECT_EQ (titles (tabs), (names { order[0], order[1], order[2], "About" }));
    EXPECT_EQ (tabs.getCurrentTabIndex(), 0);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ (tabs[(std::size_t) i]->page, dynamic_cast<view*> (tabs.getTabContentComponent (i)));

    // Pulls the interface under `title` and waits for its tab to go.
    const auto pull = [&] (const juce::String& title)
    {
        for (auto* vi : { &one, &two, &three })
            if (juce::String (vi->path()) == title)
                vi->unplug();
        return pump_until ([&, n = tabs.getNumTabs() - 1] { return tabs.getNumTabs() == n; }, 3000);
    };
    tabs.setCurrentTabIndex (1);
    // Pull the third while the second is shown: the second stays shown.
    ASSERT_TRUE (pull (order[2]));
    EXPECT_EQ (tabs.getCurrentTabName(), order[1]);
    // Pull the shown one: tab 0 is shown.
    ASSERT_TRUE (pull (order[1]));
    EXPECT_EQ (tabs.getCurrentTabIndex(), 0);
    EXPECT_EQ (tabs.getCurrentTabName(), order[0]);
    // The last one pulled while shown leaves About shown.
    ASSERT_TRUE (pull (order[0]));
    EXPECT_EQ (titles (tabs), names { "About" });
    EXPECT_EQ (tabs.getCurrentTabName(), "About");
}

TEST_F (panel_tabs, arrivals_go_before_about_and_leave_the_shown_page_and_teardown_releases_them)
{
    virtual_interface first (bus, "first");
    {
        container tabs (*root);
        virtual_interface second (bus, "second");
        ASSERT_TRUE (pump_until ([&] { return tabs.getNumTabs() == 3; }, 3000));
        EXPECT_EQ (titles (tabs), (names { juce::String (first.path()), juce::String (second.path()), "About" }));
        tabs.setCurrentTabIndex (2);
        virtual_interface third (bus, "third");
        ASSERT_TRUE (pump_until ([&] { return tabs.getNumTabs() == 4; }, 3000));
        EXPECT_EQ (tabs.getCurrentTabName(), "About");
    }
    // The one-client rule: a second opener is refused while anything still holds it.
    EXPECT_EQ ((qv::driver<os_result, device>().size()), 1u);
}

TEST_F (panel_tabs, an_interface_whose_page_cannot_be_built_is_listed_without_a_tab)
{
    root->getChildByName ("device")->setAttribute ("startup", "missing");
    container tabs (*root);
    virtual_interface a (bus, "a");
    ASSERT_TRUE (pump_until ([&] { return tabs.size() == 1; }, 3000));
    pump_for (50);
    EXPECT_EQ (tabs.getNumTabs(), 1);
    EXPECT_EQ (tabs.front()->page, nullptr);

    a.unplug();
    EXPECT_TRUE (pump_until ([&] { return tabs.empty(); }, 3000));
}

TEST_F (panel_tabs, an_interface_that_fails_at_start_stops_the_panel)
{
    virtual_interface a (bus, "a", { "--fail-after", "1" });
    EXPECT_THROW (container tabs (*root), os_result);
}

TEST_F (panel_tabs, an_interface_pulled_while_its_gain_menu_is_open_writes_nothing)
{
    virtual_interface a (bus, "a");
    container tabs (*root);
    auto* page = dynamic_cast<view*> (tabs.getTabContentComponent (0));
    ASSERT_NE (page, nullptr);
    page->buttonClicked (const_cast<juce::ImageButton*> (&page->mode_button()));
    auto* out12 = page->front();
    ASSERT_TRUE (out12->is_menu());

    // While the menu is open the interface goes, and its page and controls with it.
    scripted_menu menu ([&] {
        a.unplug();
        pump_until ([&] { return tabs.getNumTabs() == 1; }, 3000);
        return 34;
    });
    out12->clicked();
    EXPECT_TRUE (tabs.empty());
}
