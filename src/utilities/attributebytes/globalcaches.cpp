// GlobalCaches: look-up caches of parsed device settings, one set for each thread.
#include "utilities/attributebytes/globalcaches.h"

#include "platform/debugger.h"
#include "utilities/attributebytes/attributebytesid.h"
#include "utilities/attributebytes/attributebytesindexedlist.h"
#include "utilities/utilitiesdll/utilitiesdllperthreadstorage.h"

namespace {

// Copies of a list share its records; a cached list must not share them with anybody.
AttributeBytesIndexedList CopyWithRecords(const AttributeBytesIndexedList& list) {
    AttributeBytesIndexedList copy;
    const auto iterator = list.GetIterator();
    while (list.IsValid(*iterator))
        copy.AddAttributeBytes(list.GetNextAttributeBytes(*iterator));
    return copy;
}

}  // namespace

namespace GlobalCaches {

bool CheckXDevmodeAttributeBytesIndexedListCache(const AttributeBytesNameSpacesId& nameSpaceId, DWORD key,
                                                 AttributeBytesIndexedList& out) {
    auto& cache = UtilitiesDllPerThreadStorage::GetXDevmodeAttributeBytesIndexedListCache();
    const auto* hit = cache.Find({nameSpaceId.GetNameSpaceId(), key});
    if (hit == nullptr) return false;
    out = CopyWithRecords(**hit);
    return true;
}

void AddXDevmodeAttributeBytesIndexedListCacheEntry(const CXString& label,
                                                    const AttributeBytesNameSpacesId& nameSpaceId, DWORD key,
                                                    const AttributeBytesIndexedList& list) {
    auto& cache = UtilitiesDllPerThreadStorage::GetXDevmodeAttributeBytesIndexedListCache();
    cache.Add({nameSpaceId.GetNameSpaceId(), key},
              std::make_shared<const AttributeBytesIndexedList>(CopyWithRecords(list)), label);
}

const XDevmodePropertyBag* CheckXDevmodePropertyBagCache(DWORD key) {
    return UtilitiesDllPerThreadStorage::GetXDevmodePropertyBagCache().Find(key);
}

void AddXDevmodePropertyBagCacheEntry(DWORD key, const XDevmodePropertyBag& bag) {
    UtilitiesDllPerThreadStorage::GetXDevmodePropertyBagCache().Add(key, bag);
}

CXString GetCacheStatisticsDisplayString() {
    return UtilitiesDllPerThreadStorage::GetCacheStatisticsDisplayString();
}

void DumpCacheStatistics() {
    const CXString statistics = GetCacheStatisticsDisplayString();
    if (!statistics.IsEmpty()) platform::WriteDebugOutput(platform::Text(statistics));
}

}  // namespace GlobalCaches
