#include "cli/CommandLine.h"

namespace CommandLine {
std::string version()
{
    constexpr const char *kPackageVersion = ARKIVON_PACKAGE_VERSION;
    return *kPackageVersion ? kPackageVersion : ARKIVON_VERSION;
}
} // namespace CommandLine
