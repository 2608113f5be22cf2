#pragma once

#include "ui/atspi/description.h"

#include <atk/atk.h>
#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>
#include <map>
#include <vector>

namespace atspi
{
// The panel's accessibility tree as AtkObjects: the application, its windows and, below
// them, what JUCE's accessibility handlers give. Nodes are made when a client first asks and
// live as long as their components. Whatever may have changed (a child added or deleted,
// a toggle, a gain step, the keyboard focus) is compared, soon after, with what clients were
// last told, and the differences are announced as ATK signals.
class tree : private juce::ComponentListener,
             private juce::FocusChangeListener,
             private juce::Value::Listener,
             private juce::Button::Listener,
             private juce::AsyncUpdater,
             private juce::Timer
{
public:
    // `told_glib` runs after signals were emitted, for GLib to send them.
    explicit tree (std::function<void()> told_glib);
    ~tree() override;
    tree (const tree&) = delete;
    tree& operator= (const tree&) = delete;

    AtkObject* root() const { return application; }
    AtkObject* node_for (juce::Component& c);
    std::vector<AtkObject*> children_of (AtkObject* node);
    AtkObject* parent_of (AtkObject* node);

    // A client's request, carried out after its call has returned: a menu it opens runs a
    // loop of its own.
    void perform (juce::Component& c, juce::AccessibilityActionType type);
    void focus (juce::Component& c);

    // Something may have changed: compare and announce soon.
    void changed() { triggerAsyncUpdate(); }
    // Compares and announces now.
    void announce();

private:
    struct told
    {
        bool children_known = false;
        std::vector<AtkObject*> children; // each holds a reference
        states state = 0;
        juce::String name, text;
    };

    void watch (juce::Component& c);
    void remember (AtkObject* node, told& t);
    void announce_children (AtkObject* node, told& t);
    void announce_states (AtkObject* node, told& t, bool gained);
    void announce_properties (AtkObject* node, told& t);

    void componentChildrenChanged (juce::Component&) override;
    void componentVisibilityChanged (juce::Component&) override { changed(); }
    void componentNameChanged (juce::Component&) override { changed(); }
    void componentBeingDeleted (juce::Component& c) override;
    void globalFocusChanged (juce::Component*) override { changed(); }
    void valueChanged (juce::Value&) override { changed(); }
    void buttonClicked (juce::Button*) override { changed(); }
    void buttonStateChanged (juce::Button*) override;
    void handleAsyncUpdate() override { announce(); }
    void timerCallback() override;

    std::function<void()> told_glib;
    AtkObject* application;
    std::map<juce::Component*, AtkObject*> nodes;
    std::map<AtkObject*, told> clients_know;
    std::map<juce::Component*, juce::Component::SafePointer<juce::Component>> watched;
    // Defunct, kept until the next comparison has told their parents; ATK announces them
    // defunct as they are released.
    std::vector<AtkObject*> gone;
};
}
