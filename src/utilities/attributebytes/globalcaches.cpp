// GlobalCaches: look-up caches of parsed device settings, one set for each thread.
#include "utilities/attributebytes/globalcaches.h"

#include "platform/debugger.h"
#include "utilities/utilitiesdll/utilitiesdllperthreadstorage.h"

namespace GlobalCaches {

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
