# Windows only: repairs to JUCE as Debian builds it, linked wherever JUCE is.
target_sources(veltrano_juce PRIVATE ${PROJECT_SOURCE_DIR}/app/windows/png_error_jump.c)
target_link_options(veltrano_juce INTERFACE -Wl,--wrap=png_set_error_fn)
