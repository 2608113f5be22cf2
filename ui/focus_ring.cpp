#include "ui/focus_ring.h"

focus_ring::focus_ring (juce::Component& c) : control (&c)
{
    setInterceptsMouseClicks (false, false);
    setAccessible (false);
    c.addComponentListener (this);
    if (auto* parent = c.getParentComponent())
        parent->addChildComponent (this, parent->getIndexOfChildComponent (&c) + 1);
    follow();
}

focus_ring::~focus_ring()
{
    if (control != nullptr)
        control->removeComponentListener (this);
}

void focus_ring::paint (juce::Graphics& g)
{
    if (auto* painter = dynamic_cast<LookAndFeelMethods*> (&getLookAndFeel()))
        painter->draw_focus_ring (g, getLocalBounds().toFloat());
}

void focus_ring::componentMovedOrResized (juce::Component&, bool, bool) { follow(); }

void focus_ring::componentVisibilityChanged (juce::Component&) { follow(); }

// Hidden until the focus, which JUCE takes off a deleted control, settles elsewhere.
void focus_ring::componentBeingDeleted (juce::Component&) { setVisible (false); }

void focus_ring::follow()
{
    setVisible (control != nullptr && control->isVisible());
    if (control != nullptr)
        setBounds (control->getBounds().expanded (margin));
}
