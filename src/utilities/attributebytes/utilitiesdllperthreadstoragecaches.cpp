// UtilitiesDllPerThreadStorage's members that make or destroy the caches, whose types stand on a higher
// floor.
#include "utilities/attributebytes/globalcaches.h"
#include "utilities/utilitiesdll/utilitiesdllperthreadstorage.h"

namespace {

template <class Cache>
Cache& MakeOnFirstRequest(std::unique_ptr<Cache>& cache) {
    if (cache == nullptr) cache = std::make_unique<Cache>();
    return *cache;
}

}  // namespace

UtilitiesDllPerThreadStorage::UtilitiesDllPerThreadStorage() = default;
UtilitiesDllPerThreadStorage::~UtilitiesDllPerThreadStorage() = default;

XDevmodePropertyBagCache& UtilitiesDllPerThreadStorage::GetXDevmodePropertyBagCache() {
    return MakeOnFirstRequest(GetUtilitiesDllPerThreadStorageObject().m_propertyBagCache);
}

XDevmodeAttributeBytesIndexedListCache&
UtilitiesDllPerThreadStorage::GetXDevmodeAttributeBytesIndexedListCache() {
    return MakeOnFirstRequest(GetUtilitiesDllPerThreadStorageObject().m_attributeListCache);
}

DeviceSettingsManagerCache& UtilitiesDllPerThreadStorage::GetDeviceSettingsManagerCache() {
    return MakeOnFirstRequest(GetUtilitiesDllPerThreadStorageObject().m_deviceSettingsManagerCache);
}

CXString UtilitiesDllPerThreadStorage::GetCacheStatisticsDisplayString() {
    CXString text;
    const UtilitiesDllPerThreadStorage* object = FindObject();
    if (object == nullptr) return text;

    if (object->m_propertyBagCache != nullptr)
        text += object->m_propertyBagCache->GetStatisticsDisplayString();
    if (object->m_attributeListCache != nullptr)
        text += object->m_attributeListCache->GetStatisticsDisplayString();
    if (object->m_deviceSettingsManagerCache != nullptr)
        text += object->m_deviceSettingsManagerCache->GetStatisticsDisplayString();
    return text;
}
