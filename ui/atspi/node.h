#pragma once

#include <atk/atk.h>
#include <juce_gui_basics/juce_gui_basics.h>

namespace atspi
{
class tree;

// The AtkObject of one component, or of the application when there is none. It answers
// every question from the component's accessibility handler when asked, and once the
// component is gone it is defunct and answers nothing about it.
AtkObject* make_node (tree& owner, juce::Component* component, AtkRole role);

// The component a node stands for; null for the application and for a defunct node.
juce::Component* component_of (AtkObject* node);

// The component is going: the node becomes defunct.
void forget (AtkObject* node);
}
