#include "skin/image_lookup.h"
#include "skin/embedded.h"
#include "skin/picture_file.h"
#include "skin/program_folder.h"

namespace
{
    struct image_row
    {
        const char* reference;
        const char* file;
    };

    // Row order matters: the table is searched from the last row to the first.
    const image_row rows[] = {
        { "resource::about_png", "about.png" },
        { "resource::about_download_on_png", "about_download_on.png" },
        { "resource::about_download_off_png", "about_download_off.png" },
        { "resource::about_download_over_png", "about_download_over.png" },
        { "resource::kelto_png", "kelto.png" },
        { "resource::disabled_png", "disabled.png" },
        { "resource::easy_png", "easy.png" },
        { "resource::easy_off_png", "easy_off.png" },
        { "resource::easy_on_png", "easy_on.png" },
        { "resource::easy_over_png", "easy_over.png" },
        { "resource::expert_png", "expert.png" },
        { "resource::expert_off_png", "expert_off.png" },
        { "resource::expert_on_png", "expert_on.png" },
        { "resource::expert_over_png", "expert_over.png" },
        { "resource::gain_menu_off_png", "gain_menu_off.png" },
        { "resource::gain_menu_over_png", "gain_menu_over.png" },
        { "resource::download_on_png", "download_on.png" },
        { "resource::download_off_png", "download_off.png" },
        { "resource::download_over_png", "download_over.png" },
        { "resource::hi_z_expert_off_png", "hi_z_expert_off.png" },
        { "resource::hi_z_expert_on_png", "hi_z_expert_on.png" },
        { "resource::hi_z_off_png", "hi_z_off.png" },
        { "resource::hi_z_on_png", "hi_z_on.png" },
        { "resource::hi_z_over_png", "hi_z_over.png" },
        { "resource::monitoring_off_png", "monitoring_off.png" },
        { "resource::monitoring_on_png", "monitoring_on.png" },
        { "resource::monitoring_over_png", "monitoring_over.png" },
        { "resource::veltrano_png", "veltrano.png" },
        { "resource::phantom_power_off_png", "phantom_power_off.png" },
        { "resource::phantom_power_on_png", "phantom_power_on.png" },
        { "resource::phantom_power_over_png", "phantom_power_over.png" },
        { "resource::phones12_png", "phones12.png" },
        { "resource::phones34_png", "phones34.png" },
    };

    // The picture's own property that names, then holds, its 2x render: it goes wherever
    // the picture's pixels go, and a picture from a file never gets it.
    const juce::Identifier& render_2x()
    {
        static const juce::Identifier name ("render_2x");
        return name;
    }

    juce::String name_2x (const char* file)
    {
        return juce::String (file).replace (".png", "@2x.png");
    }

    juce::Image built_in_picture (const juce::String& reference)
    {
        for (auto row = std::rbegin (rows); row != std::rend (rows); ++row)
        {
            if (reference != row->reference)
                continue;
            auto* png = find_embedded (skin::images::files, row->file);
            if (png == nullptr)
                return {};
            auto picture = juce::ImageCache::getFromMemory (png->data, (int) png->size);
            if (auto* properties = picture.getProperties(); properties != nullptr && ! properties->contains (render_2x()))
                properties->set (render_2x(), name_2x (row->file));
            return picture;
        }
        return {};
    }

    unsigned long long pixels_2x (const juce::Image& picture)
    {
        return 4ull * (unsigned long long) picture.getWidth() * (unsigned long long) picture.getHeight();
    }

    unsigned long long largest_pixels_2x()
    {
        static const auto largest = []
        {
            unsigned long long most = 0;
            for (auto& row : rows)
                most = std::max (most, pixels_2x (built_in_picture (row.reference)));
            return most;
        }();
        return largest;
    }
}

juce::Image image_lookup (const juce::String& reference)
{
    auto built_in = built_in_picture (reference);
    if (reference.isNotEmpty())
    {
        // A file beside the program wins; one that is not a picture gives a null image, and
        // so does one with more pixels than the built-in picture's 2x render: it may be as
        // sharp, not larger. A name the table lacks is held to its largest picture.
        const juce::File file (program_folder() + reference);
        if (file.exists())
            return load_picture_file (file, built_in.isValid() ? pixels_2x (built_in) : largest_pixels_2x());
    }
    return built_in;
}

juce::Image double_size_render (const juce::Image& picture)
{
    auto* properties = picture.getProperties();
    auto* render = properties == nullptr ? nullptr : properties->getVarPointer (render_2x());
    if (render == nullptr)
        return {};
    if (render->isString())
    {
        // Decoded once; the picture keeps it for as long as it lives itself.
        auto* png = find_embedded (skin::images::files, render->toString().toStdString());
        auto decoded = png == nullptr ? juce::Image() : juce::ImageFileFormat::loadFrom (png->data, png->size);
        *render = decoded.getPixelData();
    }
    return juce::Image (dynamic_cast<juce::ImagePixelData*> (render->getObject()));
}

const juce::StringArray& image_references()
{
    static const juce::StringArray references = []
    {
        juce::StringArray list;
        for (auto& row : rows)
            list.add (row.reference);
        return list;
    }();
    return references;
}
