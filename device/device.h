#pragma once

// The application's device: one interface of the audio device, with the page that
// shows it. The port's header supplies the native types of qv::port<os_result>.

#include "device/qv/driver.h"
#include "device/qv/veltrano.h"
#include "native_port.h"

class view;

class device : public qv::veltrano<qv::os_result>
{
public:
    using qv::veltrano<qv::os_result>::veltrano;

    view* page = nullptr; // set and used by the container; not owned
};

using os_result = qv::os_result;
