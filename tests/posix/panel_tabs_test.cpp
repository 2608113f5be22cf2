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
    std::vector<juce::String> titles (const container& tabs)
    {
        std::vector<juce::String> result;
        for (auto& name : tabs.getTabNames())
            result.push_back (name);
        return result;
    }

    juce::String current_title (const container& tabs) { return tabs.getCurrentTabName(); }
}

class panel_tabs : public ::testing::Test
{
protected:
    std::unique_ptr<juce::XmlElement> root = parse_skin();
    temporary_bus bus;
};

TEST_F (panel_tabs, without_interfaces_only_about_is_there_and_shown)
{
    container tabs (*root);
    EXPECT_EQ (titles (tabs), std::vector<juce::String> { "About" });
    EXPECT_EQ (tabs.getCurrentTabIndex(), 0);
    EXPECT_TRUE (tabs.empty());
}

TEST_F (panel_tabs, interfaces_present_get_tabs_in_list_order_and_the_first_is_shown)
{
    virtual_interface b (bus, "b");
    virtual_interface a (bus, "a");
    container tabs (*root);

    ASSERT_EQ (tabs.size(), 2u);
    const juce::String first (*tabs[0]), second (*tabs[1]);
    EXPECT_EQ (titles (tabs), (std::vector<juce::String> { first, second, "About" }));
    EXPECT_EQ (tabs.getCurrentTabIndex(), 0);
    for (int i = 0; i < 2; ++i)
    {
        auto* page = dynamic_cast<view*> (tabs.getTabContentComponent (i));
        ASSERT_NE (page, nullptr);
        EXPECT_EQ (tabs[(std::size_t) i]->page, page);
    }
    // The shown page sized the tabs: the easy picture plus the tab bar.
    EXPECT_EQ (tabs.getHeight(), 212);
    EXPECT_EQ (tabs.getWidth(), 475);
}

TEST_F (panel_tabs, an_arrival_goes_before_about_and_leaves_the_shown_page)
{
    container tabs (*root);
    virtual_interface later (bus, "later");
    ASSERT_TRUE (pump_until ([&] { return tabs.getNumTabs() == 2; }, 3000));
    EXPECT_EQ (titles (tabs), (std::vector<juce::String> { juce::String (later.path()), "About" }));
    EXPECT_EQ (current_title (tabs), "About");

    virtual_interface second (bus, "again");
    ASSERT_TRUE (pump_until ([&] { return tabs.getNumTabs() == 3; }, 3000));
    EXPECT_EQ (titles (tabs), (std::vector<juce::String> { juce::String (later.path()), juce::String (second.path()), "About" }));
    EXPECT_EQ (current_title (tabs), "About");
}

TEST_F (panel_tabs, pulling_the_shown_interface_shows_tab_0_and_others_keep_the_selection_down_to_about)
{
    virtual_interface one (bus, "1");
    virtual_interface two (bus, "2");
    virtual_interface three (bus, "3");
    container tabs (*root);
    ASSERT_EQ (tabs.getNumTabs(), 4);
    const auto order = titles (tabs);
    const auto pull = [&] (const juce::String& title)
    {
        for (auto* vi : { &one, &two, &three })
            if (juce::String (vi->path()) == title)
                vi->unplug();
    };

    tabs.setCurrentTabIndex (1);
    const auto shown = current_title (tabs);
    const auto last = order[2];
    // Pull the third while the second is shown: the second stays shown.
    pull (last);
    ASSERT_TRUE (pump_until ([&] { return tabs.getNumTabs() == 3; }, 3000));
    EXPECT_EQ (current_title (tabs), shown);

    // Pull the shown one: tab 0 is shown.
    pull (shown);
    ASSERT_TRUE (pump_until ([&] { return tabs.getNumTabs() == 2; }, 3000));
    EXPECT_EQ (tabs.getCurrentTabIndex(), 0);
    EXPECT_EQ (current_title (tabs), order[0]);
    EXPECT_EQ (tabs.size(), 1u);

    // The last one pulled while shown leaves About shown, the tabs at its size.
    pull (order[0]);
    ASSERT_TRUE (pump_until ([&] { return tabs.getNumTabs() == 1; }, 3000));
    EXPECT_EQ (current_title (tabs), "About");
    EXPECT_EQ (tabs.getHeight(), 212);
}

TEST_F (panel_tabs, teardown_releases_every_interface)
{
    virtual_interface a (bus, "a");
    {
        container tabs (*root);
        tabs.setCurrentTabIndex (0);
    }
    // The one-client rule: a second opener is refused while anything still holds it.
    qv::driver<os_result, device> again;
    EXPECT_EQ (again.size(), 1u);
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
    ASSERT_TRUE (pump_until ([&] { return tabs.empty(); }, 3000));
    EXPECT_EQ (titles (tabs), std::vector<juce::String> { "About" });
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
    EXPECT_EQ (tabs.getNumTabs(), 1);
    EXPECT_TRUE (tabs.empty());
}
