// The least program that can stand for an agent: it does nothing until it is ended. It ends by itself after a minute,
// whatever became of the test that started it; "StandIn MILLISECONDS" after so long, or where nobody can give it an argument after
// what KESTRUM_TEST_LIFE says.

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
