// DeviceSettingsManager's members that reach the printer, which stands on a higher floor.
#include "environment/devicesettingsmanager.h"
#include "environment/printer.h"

const WChar* const DeviceSettingsManager::settingsValueName = NV_TEXT("NrvDeviceSettings");
const WChar* const DeviceSettingsManager::checksumValueName = NV_TEXT("NrvDeviceSettingsCrc");

bool DeviceSettingsManager::GetDeviceSettingsDataFromStorage(ByteBuffer& data, DWORD& size) const {
    DWORD type = 0;
    if (!m_printer.GetPrinterDataW(settingsValueName, type, data)) return false;
    size = data.getDword();
    return true;
}

void DeviceSettingsManager::WriteDeviceSettingsDataToStorage(const ByteBuffer& state) {
    m_printer.SetPrinterDataExW(Printer::driverDataKey, settingsValueName, Printer::typeBinary, state);
}

bool DeviceSettingsManager::GetDeviceSettingsCrcOnly(DWORD& crc) const {
    DWORD type = 0;
    ByteBuffer data;
    if (!m_printer.GetPrinterDataW(checksumValueName, type, data)) return false;
    crc = static_cast<DWORD>(data.getAsLongValue());
    return true;
}
