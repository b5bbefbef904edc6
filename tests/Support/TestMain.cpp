// SPDX-License-Identifier: MIT
#include "tests/Support/TestRunner.h"

int main(int argc, char** argv)
{
    return kestrum::TestRunner::run(argc, argv);
}
