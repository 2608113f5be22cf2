# The interface's USB vendor:product pairs, declared here and nowhere else: the port's
# table and the Debian package's udev rule are both made from this list. Until the
# maker's own pair is known it holds the open test pair; KELTO_VELTRANO_USB_IDS adds
# pairs at run time.
set(VELTRANO_USB_IDS 1209:0001)
