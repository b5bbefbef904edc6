// The least program that can stand for an agent: it does nothing until it is ended. "StandIn MILLISECONDS" ends by itself
// after so long, and any StandIn after a minute, whatever became of the test that started it.

#include <cstdlib>
#include <unistd.h>

int main(int argc, char** argv)
{
    static constexpr unsigned int longestLife = 60; // seconds
    ::alarm(longestLife);
    if (argc < 2)
        ::pause();
    else
        ::usleep(static_cast<useconds_t>(std::atoi(argv[1])) * 1000);
    return 0;
}
