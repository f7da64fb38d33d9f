// DeviceSettingsManager: a printer's device settings, kept in its driver data.
#pragma once

#include <optional>

#include "platform/types.h"
#include "utilities/attributebytes/attributebytesindexedlist.h"
#include "utilities/attributebytes/attributebytesrawlist.h"
#include "utilities/attributebytes/attributebytesreader.h"
#include "utilities/utilitiesdll/bytebuffer.h"

class Printer;

/// Reads and saves the device settings of a printer, and answers typed questions to them.
///
/// The settings are namespace 1 of the persisted state that is stored as "NrvDeviceSettings" under the key
/// "PrinterDriverData". They are read from there at the first question and then kept: what others save later
/// is seen by a new manager. Used by one thread at a time.
///
/// Members that reach the printer throw what Printer throws. Those that read settings throw
/// ExceptionMissingOrBadPersistentAttributesFormat, and what a damaged list throws, when the stored state is
/// damaged, and ExceptionFeatureNotFound when it has no namespace 1; the stored bytes stay as they are then.
class NVUTIL_API DeviceSettingsManager : public AttributeBytesReader {
public:
    /// The name of the value that holds the state: "NrvDeviceSettings".
    static const WChar* const settingsValueName;
    /// The name of the value that holds its checksum: "NrvDeviceSettingsCrc".
    static const WChar* const checksumValueName;

    /// @param printer  must outlive the manager
    explicit DeviceSettingsManager(Printer& printer);
    ~DeviceSettingsManager() override;

    /// The settings, read from storage by the first call; empty when none are stored.
    const AttributeBytesIndexedList& GetAttributeBytesIndexedListRef() const override;
    /// The same list, to be changed; SaveUpdatedAttributeBytesIndexedList stores it.
    AttributeBytesIndexedList& GetUpdatableAttributeBytesIndexedListRef();

    /// Reads the settings from storage as they are now.
    /// @return false, and `out` is unchanged, when none are stored
    bool GetDeviceSettingsRawListForDataModel(AttributeBytesRawList& out) const;
    /// Reads the stored state.
    /// @param size  receives the number of its bytes
    /// @return false, and both are unchanged, when none is stored
    bool GetDeviceSettingsDataFromStorage(ByteBuffer& data, DWORD& size) const;
    /// Reads the checksum that a driver may have stored beside the settings. The library never writes it.
    /// @return false, and `crc` is unchanged, when there is none
    /// @throws ExceptionNotEnoughBytesForDesiredDataType when it has less than 32 bits
    bool GetDeviceSettingsCrcOnly(DWORD& crc) const;

    // Saving replaces the whole stored state. Deliberately, other namespaces that it had are not carried
    // over. A text of more than 32,767 code units is refused, and then nothing is stored.
    // @throws ExceptionInvalidAttributeOperationParamter, and what Printer throws

    /// Saves the list that is held, in key order, after reading it when that has not happened yet.
    void SaveUpdatedAttributeBytesIndexedList();
    /// Saves a list as it is. The list that is held stays.
    void SaveUpdatedDeviceSettingsFromDataModel(const AttributeBytesRawList& list);
    /// Stores these bytes as the state, unchecked.
    void WriteDeviceSettingsDataToStorage(const ByteBuffer& state);

private:
    DeviceSettingsManager(const DeviceSettingsManager&) = delete;
    DeviceSettingsManager& operator=(const DeviceSettingsManager&) = delete;

    AttributeBytesIndexedList& GetList() const;
    void SaveDeviceSettingsRawList(const AttributeBytesRawList& list);

    Printer& m_printer;
    mutable std::optional<AttributeBytesIndexedList> m_list;  ///< Once it has been asked for.
};
