#include "app/window.h"

window::window (const juce::XmlElement& root)
    : juce::XmlElement (root),
      juce::DocumentWindow (juce::JUCEApplication::getInstance()->getApplicationName(),
                            juce::Desktop::getInstance().getDefaultLookAndFeel()
                                .findColour (juce::ResizableWindow::backgroundColourId),
                            juce::DocumentWindow::closeButton)
{
    setTitleBarHeight (19);
    setContentNonOwned (&tabs, true);
    tabs.setSize (475, 212);
    setSize (tabs.getWidth(), tabs.getHeight() + getTitleBarHeight());
    setVisible (true);
}

window::~window() = default;

void window::closeButtonPressed()
{
    juce::JUCEApplication::getInstance()->systemRequestedQuit();
}
