// The least program that can stand for an agent: it does nothing until it is ended. It ends by itself after a minute,
// whatever became of the test that started it; "StandIn MILLISECONDS" after so long.

#include <cstdlib>
#include <unistd.h>

int main(int argc, char** argv)
{
    static constexpr int longestLife = 60'000;
    const int milliseconds = argc < 2 ? longestLife : std::atoi(argv[1]);
    ::usleep(static_cast<useconds_t>(milliseconds) * 1000);
    return 0;
}
