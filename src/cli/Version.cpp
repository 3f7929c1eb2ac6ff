#include "cli/CommandLine.h"

namespace CommandLine {
std::string version()
{
    constexpr const char *kPackageVersion = ARKIVON_PACKAGE_VERSION;
    return *kPackageVersion ? kPackageVersion : ARKIVON_VERSION;
}

void addVersion(CLI::App &app)
{
    app.set_version_flag("--version", app.get_name() + ' ' + version())->description("Show the version");
}
} // namespace CommandLine
