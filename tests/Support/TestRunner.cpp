#include "tests/Support/TestRunner.h"

#include <cstdio>

namespace kestrum {

TestRunner::TestRunner(const char* testClass, Main main)
    : m_testClass(testClass)
    , m_main(main)
    , m_next(s_first)
{
    s_first = this;
}

int TestRunner::run(int argc, char** argv)
{
    const std::string_view wanted(argc > 1 ? argv[1] : "");
    for (s_running = s_first; s_running; s_running = s_running->m_next) {
        if (wanted != s_running->m_testClass)
            continue;
        argv[1] = argv[0];
        return s_running->m_main(argc - 1, argv + 1);
    }
    std::fprintf(stderr, "usage: %s CLASS [arguments of Qt Test]\n", argv[0]);
    for (const TestRunner* entry = s_first; entry; entry = entry->m_next)
        std::fprintf(stderr, "  %s\n", entry->m_testClass);
    return 2;
}

QStringList TestRunner::again(const QStringList& arguments)
{
    return QStringList { QString::fromLatin1(s_running->m_testClass) } + arguments;
}

} // namespace kestrum
