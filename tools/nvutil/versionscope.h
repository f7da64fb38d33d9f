// The current driver version, changed for a while.
#pragma once

#include "utilities/utilitiesdll/driverversion.h"

/// Gives the process another current driver version, and the former one back at the end.
class CurrentVersionScope {
public:
    explicit CurrentVersionScope(const DriverVersion& version)
        : m_former(DriverVersion::GetCurrentDriverVersion()) {
        DriverVersion::SetCurrentDriverVersion(version);
    }
    CurrentVersionScope(const CurrentVersionScope&) = delete;
    CurrentVersionScope& operator=(const CurrentVersionScope&) = delete;
    ~CurrentVersionScope() { DriverVersion::SetCurrentDriverVersion(m_former); }

private:
    DriverVersion m_former;
};
