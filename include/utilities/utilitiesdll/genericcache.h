// GenericCache: a bounded cache that forgets what was used least recently.
#pragma once

#include <cstddef>
#include <list>
#include <map>
#include <utility>

#include "platform/types.h"
#include "utilities/utilitiesdll/cxstring.h"

namespace nvutil {

/// How a cache has been used.
struct CacheStatistics {
    std::size_t hits = 0;       ///< Look-ups that found an entry.
    std::size_t misses = 0;     ///< Look-ups that found none.
    std::size_t evictions = 0;  ///< Entries given up to make room.
};

/// The line of numbers that stands for a cache, with its line end.
/// @param size      its entries
/// @param capacity  most that it keeps
NVUTIL_API CXString DescribeCache(const WChar* name, std::size_t size, std::size_t capacity,
                                  const CacheStatistics& statistics);

}  // namespace nvutil

/// Keeps up to a fixed number of values by their keys; a full cache gives up the entry that was added or
/// found least recently. Used by one thread at a time.
///
/// @tparam Key  ordered by `operator<`
template <class Key, class Value>
class GenericCache {
public:
    /// @param name      names the cache in its statistics
    /// @param capacity  most entries kept at a time; at least 1
    GenericCache(const WChar* name, std::size_t capacity) : m_name(name), m_capacity(capacity) {}

    /// The value of a key, which becomes the most recently used one; null when there is none.
    /// The value stays in place until the next Add.
    Value* Find(const Key& key) {
        const auto found = m_index.find(key);
        if (found == m_index.end()) {
            ++m_statistics.misses;
            return nullptr;
        }
        ++m_statistics.hits;
        m_entries.splice(m_entries.begin(), m_entries, found->second);
        return &found->second->value;
    }

    /// Stores a value, in place of the one that the key has.
    /// @param label  names the entry in the statistics; may be empty
    void Add(const Key& key, Value value, const CXString& label = CXString()) {
        m_entries.push_front({key, std::move(value), label});
        const auto newest = m_entries.begin();
        try {
            const auto [position, isNew] = m_index.try_emplace(key, newest);
            if (!isNew) m_entries.erase(std::exchange(position->second, newest));
        } catch (...) {
            m_entries.erase(newest);
            throw;
        }
        if (m_entries.size() > m_capacity) GiveUpOldest();
    }

    std::size_t GetSize() const { return m_entries.size(); }
    std::size_t GetCapacity() const { return m_capacity; }
    const nvutil::CacheStatistics& GetStatistics() const { return m_statistics; }

    /// One line of numbers, then one indented line for each labelled entry, the most recently used first.
    CXString GetStatisticsDisplayString() const {
        CXString text = nvutil::DescribeCache(m_name, m_entries.size(), m_capacity, m_statistics);
        for (const Entry& entry : m_entries) {
            if (!entry.label.IsEmpty()) text += NV_TEXT("  ") + entry.label + NV_TEXT("\r\n");
        }
        return text;
    }

private:
    struct Entry {
        Key key;
        Value value;
        CXString label;
    };

    void GiveUpOldest() {
        m_index.erase(m_entries.back().key);
        m_entries.pop_back();
        ++m_statistics.evictions;
    }

    const WChar* m_name;
    std::size_t m_capacity;
    std::list<Entry> m_entries;  // the most recently used first
    std::map<Key, typename std::list<Entry>::iterator> m_index;
    nvutil::CacheStatistics m_statistics;
};
