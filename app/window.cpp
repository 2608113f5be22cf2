#include "app/window.h"

window::window (const juce::XmlElement& root)
    : juce::XmlElement (root),
      juce::DocumentWindow (juce::JUCEApplication::getInstance()->getApplicationName(),
                            juce::Desktop::getInstance().getDefaultLookAndFeel()
                                .findColour (juce::ResizableWindow::backgroundColourId),
                            juce::DocumentWindow::closeButton,
                            true),
      content (root),
      keys (*this, content)
{
    setUsingNativeTitleBar (false);
    setTitleBarHeight (19);
    setContentNonOwned (&content, true);
    setSize (content.getWidth(), content.getHeight() + getTitleBarHeight());
    setVisible (true);
}

window::~window() = default;

void window::closeButtonPressed()
{
    juce::JUCEApplication::getInstance()->systemRequestedQuit();
}

juce::BorderSize<int> window::getBorderThickness()
{
    return {};
}
