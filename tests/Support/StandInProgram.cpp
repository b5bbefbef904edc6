// The simplest stand-in for an agent: it does nothing until it is killed. It ends by itself after a minute, even if its test
// has crashed. "StandIn MILLISECONDS" ends after that time instead. KESTRUM_TEST_LIFE sets the time where a test can pass no
// argument.

#include <cstdlib>
#include <unistd.h>

int main(int argc, char** argv)
{
    static constexpr int longestLife = 60'000;
    const char* life = argc < 2 ? std::getenv("KESTRUM_TEST_LIFE") : argv[1];
    const int milliseconds = life ? std::atoi(life) : longestLife;
    ::usleep(static_cast<useconds_t>(milliseconds) * 1000);
    return 0;
}
