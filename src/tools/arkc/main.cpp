#include "tools/arkc/Command.h"

int main(int argc, char **argv)
{
    return CommandLine::guarded("arkc", [=] { return arkc::run(argc, argv); });
}
