// BurnerImp: the burner program that `tq7z burn` starts. It connects to the tool's pipe, named in
// the environment variable TQ7Z_BURNER_PIPE, and burns what the tool asks for (burnersession.h).
#include "burner/namedpipe.h"
#include "burnerimp/burnersession.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

int main(int argc, char** argv)
{
    uint32 threads = 0;
    for (int i = 1; i < argc; ++i)
    {
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0)
        {
            std::printf("BurnerImp [--threads N]: the burner program of `tq7z burn`, which starts it.\n"
                        "It connects to the pipe named in %s, reads the pipeline.ini the tool\n"
                        "names, and burns the generic files of each request into the project's final\n"
                        "data on all cores (--threads sets how many threads burn at once).\n",
                        NamedPipe::EnvironmentVariable);
            return 0;
        }
        if (std::strcmp(argv[i], "--threads") == 0 && i + 1 < argc)
            threads = uint32(std::strtoul(argv[++i], nullptr, 10));
        else
        {
            std::fprintf(stderr, "BurnerImp: unknown argument '%s' (see --help)\n", argv[i]);
            return 2;
        }
    }
    const std::string path = NamedPipe::PathFromEnvironment();
    if (path.empty())
    {
        std::fprintf(stderr, "BurnerImp: %s is not set: the burner is started by `tq7z burn`\n",
                     NamedPipe::EnvironmentVariable);
        return 2;
    }
    NamedPipe pipe(path, NamedPipe::Client);
    if (!pipe.Create() || !pipe.Connect())
    {
        std::fprintf(stderr, "BurnerImp: cannot connect to the tool's pipe '%s'\n", path.c_str());
        return 1;
    }
    return RunBurnerSession(pipe, threads);
}
