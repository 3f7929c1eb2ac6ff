#include "admin/ConfigManager.h"

#ifndef ARKIVON_BRAND
#define ARKIVON_BRAND 0
#endif

namespace {
struct Identity
{
    const char *role;
    const char *version;
    const char *organisation;
    const char *applicationId;
    const char *modelName;
};

constexpr Identity kIdentities[] = {
    { "master", "2.3.15.008", "veltrano", "com.veltrano.arkivon", "KV LITE" },
    { "master", "1.0", "doralin", "com.doralin.dl5100", "DL-5100" },
};
} // namespace

ConfigManager::ConfigManager()
    : ConfigManager(ARKIVON_BRAND)
{}

ConfigManager::ConfigManager(int brand)
    : m_brand(brand == 1 ? 1 : 0)
{}

QString ConfigManager::role() const
{
    return QString::fromLatin1(kIdentities[m_brand].role);
}

QString ConfigManager::version() const
{
    return QString::fromLatin1(kIdentities[m_brand].version);
}

QString ConfigManager::organisation() const
{
    return QString::fromLatin1(kIdentities[m_brand].organisation);
}

QString ConfigManager::applicationId() const
{
    return QString::fromLatin1(kIdentities[m_brand].applicationId);
}

QString ConfigManager::modelName() const
{
    return QString::fromLatin1(kIdentities[m_brand].modelName);
}
