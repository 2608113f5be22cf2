#include <gtest/gtest.h>

#include "app/skin_root.h"
#include "skin/image_lookup.h"
#include "ui/about.h"

namespace
{
    template <typename T>
    T* child_of_type (juce::Component& parent)
    {
        for (auto* child : parent.getChildren())
            if (auto* found = dynamic_cast<T*> (child))
                return found;
        return nullptr;
    }
}

// The line names the program and its version. The download button takes its place and size from its pictures; without an update
// element the page shows its picture and line only.
TEST (about, shows_its_information_line_and_a_download_button_sized_by_its_pictures)
{
    auto root = parse_skin();
    auto& element = *root->getChildByName ("about");
    about page (element);
    auto* line = child_of_type<label> (page);
    auto* button = child_of_type<juce::ImageButton> (page);
    ASSERT_NE (line, nullptr);
    ASSERT_NE (button, nullptr);
    EXPECT_TRUE (about::information().startsWith ("Kelto Veltrano 1.0.0f48 "));
    EXPECT_TRUE (about::information().contains (juce::String (juce::CharPointer_UTF8 ("\xc2\xa9"))));
    EXPECT_EQ (line->getText(), about::information());
    EXPECT_TRUE (line->isVisible());

    const auto off = image_lookup ("resource::about_download_off_png");
    EXPECT_EQ (button->getBounds(), juce::Rectangle<int> (194, 12, off.getWidth(), off.getHeight()));
    EXPECT_TRUE (button->getNormalImage() == off);
    EXPECT_TRUE (button->getOverImage() == image_lookup ("resource::about_download_over_png"));
    EXPECT_TRUE (button->getDownImage() == image_lookup ("resource::about_download_on_png"));

    element.deleteAllChildElementsWithTagName ("update");
    EXPECT_EQ (about (element).getNumChildComponents(), 1);
}
