// SPDX-License-Identifier: MIT
// What a second start of a program sends to the first.

#include "Platform/Processes/SingleInstance.h"
#include "fuzz/FuzzTarget.h"

#include <algorithm>

namespace kestrum {

namespace {

void runStartToken(std::string_view input)
{
    const qsizetype size = qsizetype(input.size());
    const QByteArrayView received(input.data(), std::min(size, SingleInstance::maximumTokenLength));
    const QByteArray token = SingleInstance::tokenIn(received, size);
    expect(token.isEmpty() || token == bytes(input), "a token is taken whole or not at all");
    expect(token.size() <= SingleInstance::maximumTokenLength, "a token is not long");
    expect(std::all_of(token.begin(), token.end(), [](char c) { return c > ' ' && c <= '~'; }),
        "a token is printable");
}

const FuzzTarget startTokenTarget("StartToken", runStartToken);

} // namespace
} // namespace kestrum
