// Global caches: what is found, what is given up, and whom a cached entry belongs to.
#include "utilities/attributebytes/globalcaches.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "support/narrow.h"
#include "utilities/attributebytes/attributebytesid.h"
#include "utilities/attributebytes/attributebytesindexedlist.h"
#include "utilities/attributebytes/attributebytesreader.h"
#include "utilities/attributebytes/attributebytesvalue.h"
#include "utilities/utilitiesdll/utilitiesdllperthreadstorage.h"

namespace {

using namespace GlobalCaches;
using NameSpace = AttributeBytesNameSpacesId;

const AttributeBytesFeatureId feature(12);

AttributeBytesIndexedList ListOf(LONG number) {
    AttributeBytesIndexedList list;
    list.SetAttributeBytes(feature, AttributeBytesIntegerValue(number));
    return list;
}

XDevmodePropertyBag BagOf(WORD number) {
    return {{number, SharedPtr<ByteBuffer>(new ByteBuffer{1, 2, 3})}};
}

// Every test has the caches of a new thread.
template <class Body>
void OnNewThread(Body body) {
    std::thread(body).join();
}

}  // namespace

TEST(GenericCache, GivesUpWhatWasUsedLeastRecently) {
    GenericCache<int, int> cache(NV_TEXT("Cache"), 3);
    for (int i = 1; i <= 3; ++i)
        cache.Add(i, i * 10);
    EXPECT_EQ(10, *cache.Find(1));
    cache.Add(2, 21);  // replaces and counts as use
    cache.Add(4, 40);
    EXPECT_EQ(nullptr, cache.Find(3));
    EXPECT_EQ(10, *cache.Find(1));
    EXPECT_EQ(21, *cache.Find(2));
    EXPECT_EQ(40, *cache.Find(4));
    EXPECT_EQ(3u, cache.GetSize());
    EXPECT_EQ("Cache: 3 of 3 entries, 4 hits, 1 misses, 1 evictions\r\n",
              Narrow(cache.GetStatisticsDisplayString()));

    GenericCache<CXString, int> full(NV_TEXT("Full"), 1);
    full.Add(NV_TEXT("key"), 1, NV_TEXT("first"));
    full.Add(NV_TEXT("key"), 2, NV_TEXT("second"));
    EXPECT_EQ(2, *full.Find(NV_TEXT("key")));
    EXPECT_EQ("Full: 1 of 1 entries, 1 hits, 0 misses, 0 evictions\r\n  second\r\n",
              Narrow(full.GetStatisticsDisplayString()));
}

TEST(GlobalCaches, FindAttributeListsByNamespaceAndKey) {
    OnNewThread([] {
        AddXDevmodeAttributeBytesIndexedListCacheEntry(NV_TEXT("a"), NameSpace(1), 5, ListOf(300));
        AddXDevmodeAttributeBytesIndexedListCacheEntry(NV_TEXT("b"), NameSpace(2), 5, ListOf(600));

        AttributeBytesIndexedList out = ListOf(1);
        EXPECT_FALSE(CheckXDevmodeAttributeBytesIndexedListCache(NameSpace(1), 6, out));
        EXPECT_FALSE(CheckXDevmodeAttributeBytesIndexedListCache(NameSpace(3), 5, out));
        EXPECT_EQ(1, out.GetIntegerValue(feature));
        EXPECT_TRUE(CheckXDevmodeAttributeBytesIndexedListCache(NameSpace(1), 5, out));
        EXPECT_EQ(300, out.GetIntegerValue(feature));
        EXPECT_TRUE(CheckXDevmodeAttributeBytesIndexedListCache(NameSpace(2), 5, out));
        EXPECT_EQ(600, out.GetIntegerValue(feature));
    });
}

TEST(GlobalCaches, AreNotAlteredThroughListsOfTheirUsers) {
    OnNewThread([] {
        AttributeBytesIndexedList stored = ListOf(300);
        AddXDevmodeAttributeBytesIndexedListCacheEntry(CXString(), NameSpace(1), 5, stored);
        stored.GetAttributeBytesRef(feature).SetAttributeBytesValue(AttributeBytesIntegerValue(7));

        AttributeBytesIndexedList hit;
        ASSERT_TRUE(CheckXDevmodeAttributeBytesIndexedListCache(NameSpace(1), 5, hit));
        EXPECT_EQ(300, hit.GetIntegerValue(feature));
        hit.GetAttributeBytesRef(feature).SetAttributeBytesValue(AttributeBytesIntegerValue(8));

        AttributeBytesIndexedList again;
        ASSERT_TRUE(CheckXDevmodeAttributeBytesIndexedListCache(NameSpace(1), 5, again));
        EXPECT_EQ(300, again.GetIntegerValue(feature));
    });
}

TEST(GlobalCaches, FindPropertyBagsUntilTheirCapacityIsExceeded) {
    OnNewThread([] {
        EXPECT_EQ(nullptr, CheckXDevmodePropertyBagCache(0));
        for (WORD key = 0; key <= 32; ++key)
            AddXDevmodePropertyBagCacheEntry(key, BagOf(key));
        EXPECT_EQ(nullptr, CheckXDevmodePropertyBagCache(0));
        const XDevmodePropertyBag* bag = CheckXDevmodePropertyBagCache(32);
        ASSERT_NE(nullptr, bag);
        ASSERT_EQ(1u, bag->size());
        EXPECT_EQ(32, bag->front().first);
        EXPECT_EQ(ByteBuffer({1, 2, 3}), *bag->front().second);
        OnNewThread([] { EXPECT_EQ(nullptr, CheckXDevmodePropertyBagCache(32)); });
        UtilitiesDllPerThreadStorage::CleanUpDueToThreadDetach(false);
        EXPECT_EQ(nullptr, CheckXDevmodePropertyBagCache(32));
    });
}

TEST(GlobalCaches, ReleaseTheirReadersWithTheThread) {
    struct Reader : AttributeBytesReader {
        const AttributeBytesIndexedList& GetAttributeBytesIndexedListRef() const override { return list; }
        AttributeBytesIndexedList list = ListOf(1);
    };
    std::weak_ptr<AttributeBytesReader> released;
    OnNewThread([&] {
        const auto reader = std::make_shared<Reader>();
        released = reader;
        UtilitiesDllPerThreadStorage::GetDeviceSettingsManagerCache().Add(NV_TEXT("Printer"), reader);
        EXPECT_EQ(reader,
                  *UtilitiesDllPerThreadStorage::GetDeviceSettingsManagerCache().Find(NV_TEXT("Printer")));
    });
    EXPECT_TRUE(released.expired());
}

TEST(GlobalCaches, TellTheirStatistics) {
    OnNewThread([] {
        EXPECT_EQ("", Narrow(GetCacheStatisticsDisplayString()));
        CheckXDevmodePropertyBagCache(1);
        AddXDevmodeAttributeBytesIndexedListCacheEntry(NV_TEXT("letter.doc"), NameSpace(1), 5, ListOf(300));
        EXPECT_EQ(
            "XDevmodePropertyBagCache: 0 of 32 entries, 0 hits, 1 misses, 0 evictions\r\n"
            "XDevmodeAttributeBytesIndexedListCache: 1 of 32 entries, 0 hits, 0 misses, 0 evictions\r\n"
            "  letter.doc\r\n",
            Narrow(GetCacheStatisticsDisplayString()));
        DumpCacheStatistics();
    });
}
