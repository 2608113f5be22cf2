#include "tests/support/test_interface.h"

#include <algorithm>

std::vector<int> block_with (std::initializer_list<std::pair<int, int>> set)
{
    std::vector<int> bytes (16, 0);
    for (auto& [index, value] : set)
        bytes[(std::size_t) index] = value;
    return bytes;
}

#if defined(_WIN32)

#include "system_calls.h"
#include "tests/win32/win32_test_support.h"
#include "veltrano_model.h"

namespace
{
    vv_model* answering = nullptr;

    BOOL WINAPI answer (HANDLE, DWORD code, LPVOID in, DWORD in_size, LPVOID out, DWORD out_size, LPDWORD returned,
                        LPOVERLAPPED)
    {
        std::vector<std::uint8_t> buffer (std::max (in_size, out_size));
        std::copy_n (static_cast<const std::uint8_t*> (in), in_size, buffer.begin());
        std::uint32_t length = 0, changed = 0;
        if (vv_model_request (answering, code, buffer.data(), in_size, out_size, &length, &changed) != VV_OK)
        {
            SetLastError (ERROR_GEN_FAILURE);
            return FALSE;
        }
        std::copy_n (buffer.begin(), length, static_cast<std::uint8_t*> (out));
        *returned = length;
        return TRUE;
    }
}

struct test_interface::parts
{
    parts (const std::vector<int>& block, const std::string& firmware)
    {
        vv_model_init (&model);
        std::copy (block.begin(), block.end(), model.block);
        vv_parse_version (firmware.c_str(), &model.firmware[0], &model.firmware[1], &model.firmware[2]);
        answering = &model;
        qv::calls.DeviceIoControl = &answer;
        opened = new ::device (folder.file ("interface"), window);
    }
    ~parts() { qv::calls.DeviceIoControl = original; } // closing the file makes no request

    win32_test::scratch_folder folder;
    vv_model model {};
    decltype (&DeviceIoControl) original = qv::calls.DeviceIoControl;
    qv::port<os_result>::window window;
    qv::reference<::device> opened;
};

::device& test_interface::device() const { return *held->opened; }

std::vector<int> test_interface::block() const { return { held->model.block, held->model.block + 16 }; }

#else

#include "tests/support/virtual_interface.h"

struct test_interface::parts
{
    parts (const std::vector<int>& block, const std::string& firmware)
        : plugged (bus, "a", { block_option (block)[0], block_option (block)[1], "--firmware", firmware }) {}

    temporary_bus bus;
    virtual_interface plugged;
    qv::driver<os_result, ::device> list;
};

::device& test_interface::device() const { return *held->list.front(); }

std::vector<int> test_interface::block() const { return held->plugged.block(); }

#endif

test_interface::test_interface (std::initializer_list<std::pair<int, int>> set, const std::string& firmware)
    : held (std::make_unique<parts> (block_with (set), firmware))
{
}

test_interface::~test_interface() = default;
