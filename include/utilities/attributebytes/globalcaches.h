// GlobalCaches: look-up caches of parsed device settings, one set for each thread.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "platform/types.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"
#include "utilities/utilitiesdll/genericcache.h"
#include "utilities/utilitiesdll/sharedptr.h"

class AttributeBytesIndexedList;
class AttributeBytesNameSpacesId;
class AttributeBytesReader;

/// The properties of a device mode: a number and its bytes each.
using XDevmodePropertyBag = std::vector<std::pair<WORD, SharedPtr<ByteBuffer>>>;

/// Property bags by the checksum of the device mode they were read from. Keeps 32 of them, since a job turns
/// between the device modes of few documents.
class NVUTIL_API XDevmodePropertyBagCache : public GenericCache<DWORD, XDevmodePropertyBag> {
public:
    XDevmodePropertyBagCache() : GenericCache(NV_TEXT("XDevmodePropertyBagCache"), 32) {}
};

/// Parsed attribute lists by their namespace's number and a key. Keeps 32 of them, like the property bags.
class NVUTIL_API XDevmodeAttributeBytesIndexedListCache
    : public GenericCache<std::pair<LONG, DWORD>, std::shared_ptr<const AttributeBytesIndexedList>> {
public:
    XDevmodeAttributeBytesIndexedListCache()
        : GenericCache(NV_TEXT("XDevmodeAttributeBytesIndexedListCache"), 32) {}
};

/// Device settings by the printer's name. Keeps those of 8 printers, since each holds all its settings.
class NVUTIL_API DeviceSettingsManagerCache
    : public GenericCache<CXString, std::shared_ptr<AttributeBytesReader>> {
public:
    DeviceSettingsManagerCache() : GenericCache(NV_TEXT("DeviceSettingsManagerCache"), 8) {}
};

/// The calling thread's caches. They take no locks and end with the thread.
namespace GlobalCaches {

/// Looks an attribute list up by its namespace and key, and replaces `out` by a copy of it.
///
/// The copy has records of its own: what becomes of it never alters the cached list.
/// @return whether there is one; `out` is unchanged otherwise
NVUTIL_API bool CheckXDevmodeAttributeBytesIndexedListCache(const AttributeBytesNameSpacesId& nameSpaceId,
                                                            DWORD key, AttributeBytesIndexedList& out);

/// Stores a copy of an attribute list, with records of its own, in place of the one that the pair has.
/// @param label  names the entry in the statistics, for example a document's or a printer's name
NVUTIL_API void AddXDevmodeAttributeBytesIndexedListCacheEntry(const CXString& label,
                                                               const AttributeBytesNameSpacesId& nameSpaceId,
                                                               DWORD key,
                                                               const AttributeBytesIndexedList& list);

/// Looks a property bag up.
/// @return the cached bag, which stays the cache's own and in place until the thread adds another; null when
///         there is none
NVUTIL_API const XDevmodePropertyBag* CheckXDevmodePropertyBagCache(DWORD key);

/// Stores a property bag in place of the one that the key has. The bag shares its byte buffers with the
/// cache.
NVUTIL_API void AddXDevmodePropertyBagCacheEntry(DWORD key, const XDevmodePropertyBag& bag);

/// Statistics of those caches that the calling thread has used: a line of numbers each, then its entries.
NVUTIL_API CXString GetCacheStatisticsDisplayString();

/// Writes the statistics to the platform's debug output. Called when the library is unloaded.
NVUTIL_API void DumpCacheStatistics();

}  // namespace GlobalCaches
