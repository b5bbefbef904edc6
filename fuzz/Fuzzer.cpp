// SPDX-License-Identifier: MIT
// What libFuzzer calls. Each fuzzer is linked with one target, so that only its own code is watched for new ways.

#include "fuzz/FuzzHome.h"
#include "fuzz/FuzzTarget.h"

#include <cstdint>

extern "C" __attribute__((visibility("default"))) int LLVMFuzzerInitialize(int*, char***)
{
    kestrum::FuzzHome::prepare();
    return 0;
}

extern "C" __attribute__((visibility("default"))) int LLVMFuzzerTestOneInput(
    const std::uint8_t* data, std::size_t size)
{
    static const kestrum::FuzzTarget& target = *kestrum::FuzzTarget::all().at(0);
    // An empty input may come without an address.
    target.run(
        size == 0 ? std::string_view("") : std::string_view(reinterpret_cast<const char*>(data), size));
    return 0;
}
