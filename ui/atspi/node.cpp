#include "ui/atspi/node.h"
#include "ui/atspi/description.h"
#include "ui/atspi/tree.h"

#include <string>

namespace
{
    struct node_data
    {
        atspi::tree* owner = nullptr;
        juce::Component::SafePointer<juce::Component> component;
        AtkRole role = ATK_ROLE_UNKNOWN;
        std::string name; // ATK hands out the node's own copy
    };

    struct Node
    {
        AtkObject parent;
        node_data* data;
    };
    struct NodeClass
    {
        AtkObjectClass parent_class;
    };

    node_data& data_of (gpointer node) { return *reinterpret_cast<Node*> (node)->data; }

    const juce::AccessibilityHandler* handler_of (gpointer node)
    {
        auto* c = data_of (node).component.getComponent();
        return c != nullptr ? c->getAccessibilityHandler() : nullptr;
    }

    gchar* copy (const juce::String& text) { return g_strdup (text.toRawUTF8()); }

    // AtkObject

    const gchar* node_name (AtkObject* node)
    {
        auto& d = data_of (node);
        if (d.role == ATK_ROLE_APPLICATION)
            d.name = juce::JUCEApplicationBase::getInstance() != nullptr
                         ? juce::JUCEApplicationBase::getInstance()->getApplicationName().toStdString()
                         : std::string();
        else if (auto* h = handler_of (node))
            d.name = atspi::name_of (*h).toStdString();
        return d.name.c_str();
    }

    AtkObject* node_parent (AtkObject* node) { return data_of (node).owner->parent_of (node); }

    gint node_child_count (AtkObject* node) { return static_cast<gint> (data_of (node).owner->children_of (node).size()); }

    AtkObject* node_child (AtkObject* node, gint index)
    {
        const auto children = data_of (node).owner->children_of (node);
        if (index < 0 || static_cast<size_t> (index) >= children.size())
            return nullptr;
        return ATK_OBJECT (g_object_ref (children[static_cast<size_t> (index)]));
    }

    gint node_index (AtkObject* node)
    {
        auto* parent = node_parent (node);
        if (parent == nullptr)
            return -1;
        const auto siblings = data_of (node).owner->children_of (parent);
        const auto at = std::find (siblings.begin(), siblings.end(), node);
        return at != siblings.end() ? static_cast<gint> (at - siblings.begin()) : -1;
    }

    AtkRole node_role (AtkObject* node)
    {
        auto& d = data_of (node);
        if (auto* h = handler_of (node))
            d.role = atspi::role_of (*h);
        return d.role;
    }

    AtkStateSet* node_states (AtkObject* node)
    {
        auto* set = atk_state_set_new();
        const auto& d = data_of (node);
        if (d.role == ATK_ROLE_APPLICATION)
            return set;
        const auto* h = handler_of (node);
        if (h == nullptr)
        {
            atk_state_set_add_state (set, ATK_STATE_DEFUNCT);
            return set;
        }
        atspi::for_each_state (atspi::states_of (*h), [set] (AtkStateType s) { atk_state_set_add_state (set, s); });
        return set;
    }

    // AtkComponent

    void node_extents (AtkComponent* node, gint* x, gint* y, gint* width, gint* height, AtkCoordType coords)
    {
        *x = *y = *width = *height = 0;
        auto* c = data_of (node).component.getComponent();
        if (c == nullptr)
            return;
        auto area = c->getScreenBounds();
        if (coords == ATK_XY_WINDOW)
            area -= c->getTopLevelComponent()->getScreenPosition();
        *x = area.getX();
        *y = area.getY();
        *width = area.getWidth();
        *height = area.getHeight();
    }

    gboolean node_grab_focus (AtkComponent* node)
    {
        auto* c = data_of (node).component.getComponent();
        if (c == nullptr || ! c->getWantsKeyboardFocus())
            return FALSE;
        data_of (node).owner->focus (*c);
        return TRUE;
    }

    void component_interface (AtkComponentIface* iface)
    {
        iface->get_extents = node_extents;
        iface->grab_focus = node_grab_focus;
    }

    // AtkAction

    std::vector<atspi::action> actions (gpointer node)
    {
        auto* h = handler_of (node);
        return h != nullptr ? atspi::actions_of (*h) : std::vector<atspi::action>();
    }

    gint node_action_count (AtkAction* node) { return static_cast<gint> (actions (node).size()); }

    const gchar* node_action_name (AtkAction* node, gint index)
    {
        const auto offered = actions (node);
        return index >= 0 && static_cast<size_t> (index) < offered.size() ? offered[static_cast<size_t> (index)].name : nullptr;
    }

    gboolean node_do_action (AtkAction* node, gint index)
    {
        const auto offered = actions (node);
        auto* c = data_of (node).component.getComponent();
        if (c == nullptr || index < 0 || static_cast<size_t> (index) >= offered.size())
            return FALSE;
        data_of (node).owner->perform (*c, offered[static_cast<size_t> (index)].type);
        return TRUE;
    }

    void action_interface (AtkActionIface* iface)
    {
        iface->get_n_actions = node_action_count;
        iface->get_name = node_action_name;
        iface->do_action = node_do_action;
    }

    // AtkValue: a gain control's step, and its item as the text

    juce::String value_text (gpointer node)
    {
        auto* h = handler_of (node);
        return h != nullptr ? atspi::text_of (*h) : juce::String();
    }

    double value_number (gpointer node)
    {
        auto* h = handler_of (node);
        return h != nullptr && h->getValueInterface() != nullptr ? h->getValueInterface()->getCurrentValue() : 0.0;
    }

    void node_value_and_text (AtkValue* node, gdouble* value, gchar** text)
    {
        if (value != nullptr)
            *value = value_number (node);
        if (text != nullptr)
            *text = copy (value_text (node));
    }

    void node_current_value (AtkValue* node, GValue* value)
    {
        g_value_init (value, G_TYPE_DOUBLE);
        g_value_set_double (value, value_number (node));
    }

    void value_interface (AtkValueIface* iface)
    {
        iface->get_value_and_text = node_value_and_text;
        iface->get_current_value = node_current_value;
    }

    // AtkText: the version line

    gchar* node_text (AtkText* node, gint start, gint end)
    {
        const auto text = value_text (node);
        const auto length = text.length();
        if (end < 0 || end > length)
            end = length;
        start = juce::jlimit (0, end, start);
        return copy (text.substring (start, end));
    }

    gint node_character_count (AtkText* node) { return value_text (node).length(); }

    gint node_caret (AtkText*) { return 0; }

    void text_interface (AtkTextIface* iface)
    {
        iface->get_text = node_text;
        iface->get_character_count = node_character_count;
        iface->get_caret_offset = node_caret;
    }

    // A window tells of its activation through AtkWindow's signals.
    void window_interface (AtkWindowIface*) {}

    // Types: every node can be asked for its extents and actions; a gain control has a value,
    // a text its characters, a window its activation.

    void node_init (Node* node) { node->data = new node_data(); }

    gpointer node_parent_class = nullptr;

    void node_finalize (GObject* object)
    {
        delete reinterpret_cast<Node*> (object)->data;
        G_OBJECT_CLASS (node_parent_class)->finalize (object);
    }

    void node_class_init (NodeClass* type)
    {
        node_parent_class = g_type_class_peek_parent (type);
        G_OBJECT_CLASS (type)->finalize = node_finalize;
        auto* atk = ATK_OBJECT_CLASS (type);
        atk->get_name = node_name;
        atk->get_parent = node_parent;
        atk->get_n_children = node_child_count;
        atk->ref_child = node_child;
        atk->get_index_in_parent = node_index;
        atk->get_role = node_role;
        atk->ref_state_set = node_states;
    }

    GType node_type()
    {
        static const GType type = [] {
            const auto t = g_type_register_static_simple (ATK_TYPE_OBJECT, "VeltranoNode", sizeof (NodeClass),
                                                          reinterpret_cast<GClassInitFunc> (node_class_init), sizeof (Node),
                                                          reinterpret_cast<GInstanceInitFunc> (node_init), GTypeFlags (0));
            const GInterfaceInfo component { reinterpret_cast<GInterfaceInitFunc> (component_interface), nullptr, nullptr };
            const GInterfaceInfo action { reinterpret_cast<GInterfaceInitFunc> (action_interface), nullptr, nullptr };
            g_type_add_interface_static (t, ATK_TYPE_COMPONENT, &component);
            g_type_add_interface_static (t, ATK_TYPE_ACTION, &action);
            return t;
        }();
        return type;
    }

    GType node_type_with (const char* name, GType iface, GInterfaceInitFunc init)
    {
        const auto t = g_type_register_static_simple (node_type(), name, sizeof (NodeClass), nullptr, sizeof (Node), nullptr, GTypeFlags (0));
        const GInterfaceInfo info { init, nullptr, nullptr };
        g_type_add_interface_static (t, iface, &info);
        return t;
    }

    GType type_for (AtkRole role)
    {
        static const GType value = node_type_with ("VeltranoValueNode", ATK_TYPE_VALUE, reinterpret_cast<GInterfaceInitFunc> (value_interface));
        static const GType text = node_type_with ("VeltranoTextNode", ATK_TYPE_TEXT, reinterpret_cast<GInterfaceInitFunc> (text_interface));
        static const GType window = node_type_with ("VeltranoWindowNode", ATK_TYPE_WINDOW, reinterpret_cast<GInterfaceInitFunc> (window_interface));
        switch (role)
        {
            case ATK_ROLE_PUSH_BUTTON_MENU: return value;
            case ATK_ROLE_STATIC:
            case ATK_ROLE_LABEL: return text;
            case ATK_ROLE_FRAME:
            case ATK_ROLE_DIALOG: return window;
            default: return node_type();
        }
    }
}

AtkObject* atspi::make_node (tree& owner, juce::Component* component, AtkRole role)
{
    auto* node = ATK_OBJECT (g_object_new (type_for (role), nullptr));
    auto& d = data_of (node);
    d.owner = &owner;
    d.component = component;
    d.role = role;
    node->role = role;
    return node;
}

juce::Component* atspi::component_of (AtkObject* node) { return data_of (node).component.getComponent(); }

void atspi::forget (AtkObject* node) { data_of (node).component = nullptr; }
