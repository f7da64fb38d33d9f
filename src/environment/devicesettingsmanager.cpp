// DeviceSettingsManager: a printer's device settings, kept in its driver data.
#include "environment/devicesettingsmanager.h"

#include <utility>

#include "utilities/attributebytes/attributebytesnamespaces.h"
#include "utilities/attributebytes/persistentattributes.h"

DeviceSettingsManager::DeviceSettingsManager(Printer& printer) : m_printer(printer) {}
DeviceSettingsManager::~DeviceSettingsManager() = default;

const AttributeBytesIndexedList& DeviceSettingsManager::GetAttributeBytesIndexedListRef() const {
    return GetList();
}

AttributeBytesIndexedList& DeviceSettingsManager::GetUpdatableAttributeBytesIndexedListRef() {
    return GetList();
}

AttributeBytesIndexedList& DeviceSettingsManager::GetList() const {
    if (!m_list) {
        AttributeBytesRawList stored;
        AttributeBytesIndexedList list;
        if (GetDeviceSettingsRawListForDataModel(stored)) list.ImportFromRawList(stored);
        m_list = std::move(list);
    }
    return *m_list;
}

bool DeviceSettingsManager::GetDeviceSettingsRawListForDataModel(AttributeBytesRawList& out) const {
    ByteBuffer state;
    DWORD size = 0;
    if (!GetDeviceSettingsDataFromStorage(state, size)) return false;
    PersistentAttributes::ReadNameSpaces(state).GetNameSpaceAttributes(
        PersistentAttributes::GetDataModelDocPropNameSpaceId(), out);
    return true;
}

void DeviceSettingsManager::SaveUpdatedAttributeBytesIndexedList() {
    AttributeBytesRawList list;
    list.ImportFromIndexedList(GetList());
    SaveDeviceSettingsRawList(list);
}

void DeviceSettingsManager::SaveUpdatedDeviceSettingsFromDataModel(const AttributeBytesRawList& list) {
    SaveDeviceSettingsRawList(list);
}

void DeviceSettingsManager::SaveDeviceSettingsRawList(const AttributeBytesRawList& list) {
    AttributeBytesNameSpaces nameSpaces;
    nameSpaces.SetNameSpaceAttributes(PersistentAttributes::GetDataModelDocPropNameSpaceId(), list);
    WriteDeviceSettingsDataToStorage(PersistentAttributes(nameSpaces).GetPersistentAttributesState());
}
