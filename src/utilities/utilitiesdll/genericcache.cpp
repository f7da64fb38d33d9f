// GenericCache: what does not depend on what is cached.
#include "utilities/utilitiesdll/genericcache.h"

#include "utilities/base/formattext.h"

CXString nvutil::DescribeCache(const WChar* name, std::size_t size, std::size_t capacity,
                               const CacheStatistics& statistics) {
    return FormatText(NV_TEXT("%s: %ld of %ld entries, %ld hits, %ld misses, %ld evictions\r\n"), name,
                      static_cast<LONG>(size), static_cast<LONG>(capacity),
                      static_cast<LONG>(statistics.hits), static_cast<LONG>(statistics.misses),
                      static_cast<LONG>(statistics.evictions));
}
