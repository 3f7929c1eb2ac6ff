#pragma once
#include <QString>

/// The fixed identity of this build. The brand is chosen when it is built (ARKIVON_BRAND, 0 or 1).
/// A value: copy it, or make one where it is needed.
class ConfigManager
{
public:
    ConfigManager();
    explicit ConfigManager(int brand);

    QString role() const; // how the controller introduces itself to other controllers
    QString version() const;
    QString organisation() const;
    QString applicationId() const; // the organisation's domain with the product in it
    QString modelName() const;

    /// Of a remote controller: 1 has four ports with IO lines, every other kind eight.
    int modelKind() const { return 1; }
    int onlinePorts() const { return modelKind() == 1 ? 4 : 8; } // serial ports that come online, from 1

private:
    int m_brand;
};
