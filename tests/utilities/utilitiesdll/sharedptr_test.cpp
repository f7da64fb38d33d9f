// SharedPtr: who destroys the object, and how often it is shared.
#include "utilities/utilitiesdll/sharedptr.h"

#include <gtest/gtest.h>

#include <memory>

struct SharedPtrTestAccess {
    template <class Pointer>
    static auto* Info(const Pointer& pointer) {
        return pointer.m_info;
    }
    template <class Pointer>
    static Pointer FromInfo(typename Pointer::SharedPtrInfoStruct* info) {
        return Pointer(info);
    }
};

namespace {

using Access = SharedPtrTestAccess;

struct Counted {
    explicit Counted(int number) : value(number) { ++alive; }
    virtual ~Counted() { --alive; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    bool IsEqual(const Counted& other) const { return value == other.value; }
    bool LessThan(const Counted& other) const { return value < other.value; }

    int value;
    static inline int alive = 0;
};

using Pointer = SharedPtr<Counted>;

std::uint32_t Count(const Pointer& pointer) {
    return Access::Info(pointer)->count;
}

}  // namespace

TEST(SharedPtr, DestroysAnOwnedObjectWithItsLastCopy) {
    {
        Pointer last;
        {
            const Pointer first(new Counted(1), true);
            const Pointer copy = first;
            last = copy;
            EXPECT_EQ(3u, Count(last));
        }
        EXPECT_EQ(1u, Count(last));
        EXPECT_EQ(1, Counted::alive);
    }
    EXPECT_EQ(0, Counted::alive);
}

TEST(SharedPtr, LeavesAnObjectThatItDoesNotOwnOrNoMore) {
    std::unique_ptr<Counted> object = std::make_unique<Counted>(1);
    { const Pointer pointer(object.get(), false); }
    EXPECT_EQ(1, Counted::alive);
    {
        Pointer pointer(object.release(), true);
        const Pointer copy = pointer;
        object.reset(pointer.ReleaseOwnership());
        EXPECT_EQ(object.get(), copy.Get());
    }
    EXPECT_EQ(1, Counted::alive);
}

TEST(SharedPtr, ResetSharesAnotherObject) {
    Pointer pointer(new Counted(1), true);
    const Pointer copy = pointer;
    pointer.Reset(pointer.Get(), false);  // the object already held: nothing happens
    EXPECT_EQ(2u, Count(pointer));
    EXPECT_TRUE(Access::Info(pointer)->owned);

    pointer.Reset(new Counted(2), true);
    EXPECT_EQ(1u, Count(pointer));
    EXPECT_EQ(1u, Count(copy));
    EXPECT_EQ(2, pointer->value);
    pointer.Reset(nullptr, true);
    EXPECT_EQ(1, Counted::alive);
}

TEST(SharedPtr, AssignsFromItselfAndFromAPointerInsideItsOwnObject) {
    struct Node {
        int value;
        SharedPtr<Node> next;
        bool IsEqual(const Node&) const { return false; }
    };
    SharedPtr<Node> head(new Node{1, SharedPtr<Node>(new Node{2, SharedPtr<Node>()})});
    const SharedPtr<Node>& itself = head;
    head = itself;
    EXPECT_EQ(1, head->value);
    head = head->next;
    EXPECT_EQ(2, head->value);
}

TEST(SharedPtr, ComparesObjects) {
    const Pointer one(new Counted(1), true);
    const Pointer alsoOne(new Counted(1), true);
    const Pointer two(new Counted(2), true);
    const Pointer null;
    EXPECT_TRUE(one == alsoOne);
    EXPECT_FALSE(one == two);
    EXPECT_TRUE(one < two);
    EXPECT_FALSE(two < one);
    EXPECT_FALSE(one == null);
    EXPECT_TRUE(null == Pointer());
    EXPECT_TRUE(null < one);
    EXPECT_FALSE(one < null);
}

TEST(SharedPtr, KeepsItsRecordWhenItIsMovedFrom) {
    Pointer pointer(new Counted(1), true);
    const Pointer moved = std::move(pointer);
    EXPECT_EQ(2u, Count(moved));
    EXPECT_TRUE(pointer == moved);  // NOLINT(bugprone-use-after-move): that is what is tested
    EXPECT_EQ(nullptr, Pointer(nullptr).Get());
}

TEST(SharedPtr, TakesARecord) {
    Pointer pointer(new Counted(1), true);
    {
        const auto sharer = Access::FromInfo<Pointer>(Access::Info(pointer));
        EXPECT_EQ(2u, Count(pointer));
    }
    EXPECT_EQ(1u, Count(pointer));

    // A record made for no record starts at 2 and outlives its holder.
    SharedPtr<Counted>::SharedPtrInfoStruct* record = nullptr;
    {
        const auto holder = Access::FromInfo<Pointer>(nullptr);
        record = Access::Info(holder);
        EXPECT_EQ(2u, record->count);
        EXPECT_TRUE(record->owned);
        EXPECT_EQ(nullptr, record->object);
    }
    EXPECT_EQ(1u, record->count);
    delete record;
}
