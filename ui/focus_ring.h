#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

// The ring around the control that has the keyboard focus: a sibling just above it that
// follows it, painted by the look-and-feel, and that neither the mouse nor a screen reader
// notices.
class focus_ring : public juce::Component, private juce::ComponentListener
{
public:
    // What a look-and-feel implements to draw the ring inside `area`, the control's bounds
    // grown by `margin` on every side.
    struct LookAndFeelMethods
    {
        virtual ~LookAndFeelMethods() = default;
        virtual void draw_focus_ring (juce::Graphics& g, juce::Rectangle<float> area) = 0;
    };
    static constexpr int margin = 3;

    explicit focus_ring (juce::Component& control);
    ~focus_ring() override;

    void paint (juce::Graphics& g) override;

private:
    void componentMovedOrResized (juce::Component&, bool, bool) override;
    void componentVisibilityChanged (juce::Component&) override;
    void componentBeingDeleted (juce::Component&) override;
    void follow();

    juce::Component::SafePointer<juce::Component> control;
};
