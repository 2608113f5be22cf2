#include "ui/atspi/tree.h"
#include "ui/atspi/node.h"

#include <algorithm>
#include <string>

namespace
{
    // While a menu is open its highlighted item moves without any event JUCE reports on
    // Linux: the tree is compared this often until no modal window is left.
    constexpr int menu_watch_ms = 100;

    const juce::TabBarButton* as_tab (const juce::Component* c) { return dynamic_cast<const juce::TabBarButton*> (c); }

    void emit_state (AtkObject* node, AtkStateType state, bool on) { atk_object_notify_state_change (node, state, on ? TRUE : FALSE); }

    void emit_property (AtkObject* node, const char* property)
    {
        AtkPropertyValues values {};
        values.property_name = property;
        g_value_init (&values.old_value, G_TYPE_INT);
        g_value_init (&values.new_value, G_TYPE_INT);
        const auto detail = std::string ("property-change::") + property;
        g_signal_emit_by_name (node, detail.c_str(), &values, nullptr);
        g_value_unset (&values.old_value);
        g_value_unset (&values.new_value);
    }
}

atspi::tree::tree (std::function<void()> told)
    : told_glib (std::move (told)),
      application (make_node (*this, nullptr, ATK_ROLE_APPLICATION))
{
    juce::Desktop::getInstance().addFocusChangeListener (this);
}

atspi::tree::~tree()
{
    stopTimer();
    cancelPendingUpdate();
    juce::Desktop::getInstance().removeFocusChangeListener (this);
    for (auto& [c, safe] : watched)
    {
        if (safe == nullptr)
            continue;
        safe->removeComponentListener (this);
        if (auto* b = dynamic_cast<juce::Button*> (safe.getComponent()))
        {
            b->removeListener (this);
            b->getToggleStateValue().removeListener (this);
        }
    }
    for (auto& [node, t] : clients_know)
        for (auto* child : t.children)
            g_object_unref (child);
    for (auto* node : gone)
        g_object_unref (node);
    for (auto& [c, node] : nodes)
    {
        forget (node);
        g_object_unref (node);
    }
    g_object_unref (application);
}

AtkObject* atspi::tree::node_for (juce::Component& c)
{
    const auto known = nodes.find (&c);
    if (known != nodes.end())
        return known->second;

    auto* h = c.getAccessibilityHandler();
    auto* node = make_node (*this, &c, h != nullptr ? role_of (*h) : ATK_ROLE_UNKNOWN);
    nodes[&c] = node;
    remember (node, clients_know[node]);
    watch (c);
    return node;
}

void atspi::tree::remember (AtkObject* node, told& t)
{
    auto* c = component_of (node);
    auto* h = c != nullptr ? c->getAccessibilityHandler() : nullptr;
    if (h == nullptr)
        return;
    t.state = states_of (*h);
    t.name = name_of (*h);
    t.text = text_of (*h);
}

void atspi::tree::watch (juce::Component& c)
{
    if (watched.count (&c) == 0)
    {
        watched.emplace (&c, &c);
        c.addComponentListener (this);
        if (auto* b = dynamic_cast<juce::Button*> (&c))
        {
            b->addListener (this);
            b->getToggleStateValue().addListener (this);
        }
    }
    // JUCE may list a component's grandchildren as its children, so changes below count too.
    for (auto* child : c.getChildren())
        watch (*child);
}

std::vector<AtkObject*> atspi::tree::children_of (AtkObject* node)
{
    std::vector<AtkObject*> children;
    if (node == application)
    {
        auto& desktop = juce::Desktop::getInstance();
        for (int i = 0; i < desktop.getNumComponents(); ++i)
        {
            auto* window = desktop.getComponent (i);
            auto* h = window->getAccessibilityHandler();
            if (window->isVisible() && h != nullptr && ! h->isIgnored())
                children.push_back (node_for (*window));
        }
    }
    else if (auto* c = component_of (node))
    {
        if (auto* bar = dynamic_cast<juce::TabbedButtonBar*> (c))
        {
            for (int i = 0; i < bar->getNumTabs(); ++i)
                if (auto* tab = bar->getTabButton (i))
                    children.push_back (node_for (*tab));
        }
        else if (auto* h = c->getAccessibilityHandler())
        {
            // JUCE lists the tabs beside their bar; they are the bar's children here.
            for (auto* child : h->getChildren())
                if (as_tab (&child->getComponent()) == nullptr)
                    children.push_back (node_for (child->getComponent()));
        }
    }

    auto& t = clients_know[node];
    if (! t.children_known)
    {
        t.children_known = true;
        t.children = children;
        for (auto* child : t.children)
            g_object_ref (child);
    }
    return children;
}

AtkObject* atspi::tree::parent_of (AtkObject* node)
{
    auto* c = component_of (node);
    if (c == nullptr)
        return nullptr;
    if (auto* tab = as_tab (c))
        return node_for (tab->getTabbedButtonBar());
    auto* h = c->getAccessibilityHandler();
    auto* parent = h != nullptr ? h->getParent() : nullptr;
    if (parent == nullptr)
        return c->isOnDesktop() ? application : nullptr;
    return node_for (parent->getComponent());
}

void atspi::tree::perform (juce::Component& c, juce::AccessibilityActionType type)
{
    juce::MessageManager::callAsync ([target = juce::Component::SafePointer<juce::Component> (&c), type] {
        if (target != nullptr)
            if (auto* h = target->getAccessibilityHandler())
                h->getActions().invoke (type);
    });
}

void atspi::tree::focus (juce::Component& c)
{
    juce::MessageManager::callAsync ([target = juce::Component::SafePointer<juce::Component> (&c)] {
        if (target != nullptr && target->isShowing())
            target->grabKeyboardFocus();
    });
}

void atspi::tree::componentChildrenChanged (juce::Component& c)
{
    watch (c);
    changed();
}

void atspi::tree::componentBeingDeleted (juce::Component& c)
{
    watched.erase (&c);
    const auto known = nodes.find (&c);
    if (known != nodes.end())
    {
        // Defunct at once, so no question reaches the component from here on.
        forget (known->second);
        gone.push_back (known->second);
        nodes.erase (known);
    }
    changed();
}

void atspi::tree::buttonStateChanged (juce::Button*)
{
    // A press may open a menu.
    changed();
    startTimer (menu_watch_ms);
}

void atspi::tree::timerCallback()
{
    announce();
    if (juce::ModalComponentManager::getInstance()->getNumModalComponents() == 0)
        stopTimer();
}

void atspi::tree::announce()
{
    cancelPendingUpdate();
    std::vector<AtkObject*> known;
    for (auto& [node, t] : clients_know)
        known.push_back (node);

    for (auto* node : known)
        if (clients_know[node].children_known)
            announce_children (node, clients_know[node]);
    // Lost states before gained ones, so that the focus leaves one control before it reaches the next.
    for (bool gained : { false, true })
        for (auto* node : known)
            if (component_of (node) != nullptr)
                announce_states (node, clients_know[node], gained);
    for (auto* node : known)
        if (component_of (node) != nullptr)
            announce_properties (node, clients_know[node]);

    for (auto* node : gone)
    {
        const auto t = clients_know.find (node);
        if (t != clients_know.end())
        {
            for (auto* child : t->second.children)
                g_object_unref (child);
            clients_know.erase (t);
        }
        g_object_unref (node);
    }
    gone.clear();
    if (told_glib)
        told_glib();
}

void atspi::tree::announce_children (AtkObject* node, told& t)
{
    const auto now = children_of (node);
    // From the last, so that each index is the one the client still has.
    for (auto old = t.children.rbegin(); old != t.children.rend(); ++old)
        if (std::find (now.begin(), now.end(), *old) == now.end())
            g_signal_emit_by_name (node, "children-changed::remove", static_cast<int> (t.children.rend() - old) - 1, *old);
    for (size_t i = 0; i < now.size(); ++i)
        if (std::find (t.children.begin(), t.children.end(), now[i]) == t.children.end())
            g_signal_emit_by_name (node, "children-changed::add", static_cast<int> (i), now[i]);

    for (auto* child : now)
        g_object_ref (child);
    for (auto* child : t.children)
        g_object_unref (child);
    t.children = now;
}

void atspi::tree::announce_states (AtkObject* node, told& t, bool gained)
{
    auto* h = component_of (node)->getAccessibilityHandler();
    if (h == nullptr)
        return;
    const auto now = states_of (*h);
    const auto flipped = (now ^ t.state) & (gained ? now : t.state);
    t.state ^= flipped;
    for_each_state (flipped, [node, gained] (AtkStateType which) {
        emit_state (node, which, gained);
        if (which == ATK_STATE_ACTIVE && ATK_IS_WINDOW (node))
            g_signal_emit_by_name (node, gained ? "activate" : "deactivate");
    });
}

void atspi::tree::announce_properties (AtkObject* node, told& t)
{
    auto* h = component_of (node)->getAccessibilityHandler();
    if (h == nullptr)
        return;
    const auto name = name_of (*h);
    if (std::exchange (t.name, name) != name)
        emit_property (node, "accessible-name");
    const auto text = text_of (*h);
    if (std::exchange (t.text, text) != text && ATK_IS_VALUE (node))
        emit_property (node, "accessible-value");
}
