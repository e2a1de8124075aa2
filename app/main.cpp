// Entry point of the `vesk` binary. The tray application and the terminal subcommands grow here;
// for now it reports its version.
#include <cstdio>
#include <cstring>

int main(int argc, char** argv)
{
    if (argc == 2 && (std::strcmp(argv[1], "--version") == 0 || std::strcmp(argv[1], "version") == 0)) {
        std::printf("vesk %s\n", VESK_VERSION);
        return 0;
    }
    std::fprintf(stderr, "usage: vesk --version\n");
    return 2;
}
