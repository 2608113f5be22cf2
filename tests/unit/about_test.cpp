#include <gtest/gtest.h>

#include "app/skin_root.h"
#include "skin/image_lookup.h"
#include "skin/translation_tables.h"
#include "tests/support/file_beside_program.h"
#include "ui/about.h"

namespace
{
    std::unique_ptr<juce::XmlElement> skin_about()
    {
        auto root = parse_skin();
        return std::make_unique<juce::XmlElement> (*root->getChildByName ("about"));
    }

    template <typename T>
    T* child_of_type (juce::Component& parent)
    {
        for (auto* child : parent.getChildren())
            if (auto* found = dynamic_cast<T*> (child))
                return found;
        return nullptr;
    }

    bool same_pixels (const juce::Image& a, const juce::Image& b)
    {
        if (a.getBounds() != b.getBounds())
            return false;
        for (int y = 0; y < a.getHeight(); ++y)
            for (int x = 0; x < a.getWidth(); ++x)
                if (a.getPixelAt (x, y) != b.getPixelAt (x, y))
                    return false;
        return true;
    }
}

TEST (about, information_line_starts_with_name_and_version)
{
    EXPECT_TRUE (about::information().startsWith ("Kelto Veltrano 1.0.0f48 "));
    EXPECT_TRUE (about::information().contains (juce::String (juce::CharPointer_UTF8 ("\xc2\xa9"))));
}

TEST (about, places_its_line_and_download_button)
{
    about page (*skin_about());
    auto* line = child_of_type<label> (page);
    auto* button = child_of_type<juce::ImageButton> (page);
    ASSERT_NE (line, nullptr);
    ASSERT_NE (button, nullptr);

    EXPECT_EQ (line->getBounds(), juce::Rectangle<int> (0, 140, 475, 20));
    EXPECT_EQ (line->getText(), about::information());
    EXPECT_EQ (line->findColour (juce::Label::textColourId).getARGB(), 0xFF94C5D5u);
    EXPECT_TRUE (line->isVisible());

    EXPECT_EQ (button->getBounds(), juce::Rectangle<int> (194, 12, 89, 23));
    EXPECT_TRUE (button->isVisible());
    EXPECT_TRUE (button->getName().endsWith ("/veltrano/en_downloads.php")) << button->getName();
    EXPECT_TRUE (juce::URL (button->getName()).isWellFormed());
    EXPECT_EQ (button->getTooltip(), "Check available software updates.");
    EXPECT_TRUE (same_pixels (button->getNormalImage(), image_lookup ("resource::about_download_off_png")));
    EXPECT_TRUE (same_pixels (button->getOverImage(), image_lookup ("resource::about_download_over_png")));
    EXPECT_TRUE (same_pixels (button->getDownImage(), image_lookup ("resource::about_download_on_png")));
}

TEST (about, without_update_element_shows_picture_and_line_only)
{
    auto element = skin_about();
    element->deleteAllChildElementsWithTagName ("update");
    about page (*element);
    EXPECT_EQ (page.getNumChildComponents(), 1);
}
