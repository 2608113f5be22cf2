#pragma once

#include "device/device.h"

#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// A parameter block: every byte 0 except the ones given.
std::vector<int> block_with (std::initializer_list<std::pair<int, int>> set);

// One interface for the unit tests of every platform, opened as the panel opens it, its
// block all 0 but the bytes `set`: a veltrano-virtual process on Linux; on Windows a plain
// file whose control requests the shared device model answers inside the test program.
class test_interface
{
public:
    explicit test_interface (std::initializer_list<std::pair<int, int>> set = {}, const std::string& firmware = "1.1.1");
    ~test_interface();

    ::device& device() const;
    std::vector<int> block() const; // what the interface holds now

private:
    struct parts;
    std::unique_ptr<parts> held;
};
