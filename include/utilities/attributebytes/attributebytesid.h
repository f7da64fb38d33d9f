// Attribute identifiers: what names a feature, a value, a capability, an item or a namespace.
//
// An identifier's bytes are one byte that holds its kind, then the payload of that kind (see
// docs/formats.md). Lists take no text that is longer than AttributeBytesId::maxTextLength.
#pragma once

#include <cstdint>
#include <memory>
#include <tuple>

#include "platform/types.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"
#include "utilities/utilitiesdll/smallobject.h"

/// The base of all identifiers. Two identifiers of different kinds are never equal, whatever they hold.
class NVUTIL_API AttributeBytesId : public nvutil::SmallObject {
public:
    /// The kinds, by the numbers of their kind byte. "New" kinds carry a text where the others carry a
    /// number.
    enum AttributeBytesIdEnum : int {
        ABIDE_UNSPECIFIED = 1,  ///< No identifier has this kind.
        ABIDE_FEATURE = 2,
        ABIDE_NEWFEATURE = 3,
        ABIDE_VALUE = 4,
        ABIDE_NEWVALUE = 5,
        ABIDE_LISTOFVALUESITEM = 6,
        ABIDE_CAPABILITY = 7,
        ABIDE_NEWCAPABILITY = 8,
        ABIDE_NAMESPACE = 9,
    };

    virtual ~AttributeBytesId();
    virtual AttributeBytesIdEnum GetAttributeBytesIdType() const = 0;
    /// A new identifier of the same class and payload.
    virtual std::unique_ptr<AttributeBytesId> Clone() const = 0;
    virtual bool IsEqual(const AttributeBytesId& other) const = 0;
    /// The key order of indexed lists: by kind, then by payload.
    virtual bool LessThan(const AttributeBytesId& other) const = 0;
    /// One line for people. The argument has no effect.
    virtual CXString GetDumpDisplayString(bool ignored = false) const = 0;
    /// Does nothing.
    virtual void Dump(bool ignored = false) const;

    /// The kind byte and the payload.
    ByteBuffer GetTypeAndIdentifierState() const;
    /// Replaces `out` by the kind byte and the payload.
    void GetTypeAndIdentifierState(ByteBuffer& out) const;
    /// Writes the kind byte and the payload to a caller's buffer of `size` bytes.
    /// @return the number of bytes written
    /// @throws ExceptionNotEnoughBytesForDesiredDataType when they do not fit; nothing is written then
    unsigned GetTypeAndIdentifierState(BYTE* buffer, unsigned size) const;

    /// Reads a kind byte and the payload of that kind.
    /// @throws ExceptionUnhandledSyntax when the kind is unknown; its byte is consumed
    /// @throws ExceptionNotEnoughBytesForDesiredDataType when the bytes end too early
    static std::unique_ptr<AttributeBytesId> WalkBufferToGetTypeAndCreateIdentifier(BYTE*& cursor,
                                                                                    unsigned& remaining);

    /// The name of a kind, such as "ABIDE_FEATURE"; "UNKNOWN!" for any other number.
    static CXString GetDebugDisplayString(AttributeBytesIdEnum kind);
    /// The name of this identifier's kind.
    CXString GetTypeDebugDisplayString() const;

protected:
    AttributeBytesId() = default;
    AttributeBytesId(const AttributeBytesId&) = default;
    AttributeBytesId& operator=(const AttributeBytesId&) = default;

    virtual ByteBuffer GetIdentifierState() const = 0;
    virtual void WalkBufferToSetIdentifier(BYTE*& cursor, unsigned& remaining) = 0;

public:
    /// Appends the kind byte and the payload.
    virtual void AppendTypeAndIdentifierState(ByteBuffer& out) const = 0;
    /// The text in the payload; null when there is none.
    virtual const CXString* FindText() const { return nullptr; }

    /// The longest text in code units that can be read back: its count is read as a signed 16-bit number.
    static constexpr int maxTextLength = 32767;

protected:
    /// The key order of indexed lists: LessThan, and where two identifiers are each less than the other, the
    /// feature decides.
    virtual bool IsBefore(const AttributeBytesId& other) const { return LessThan(other); }
    /// As much of the key order as 64 bits can tell: whenever two prefixes differ, the smaller one is before.
    virtual std::uint64_t GetOrderPrefix() const = 0;

    /// Whether the kinds are equal.
    bool operator==(const AttributeBytesId& other) const;
    /// Whether this kind's number is smaller.
    bool operator<(const AttributeBytesId& other) const;

    /// An order prefix: the kind's byte, then 48 bits of the payload.
    static std::uint64_t MakeOrderPrefix(AttributeBytesIdEnum kind, LONG number, short type);
    static std::uint64_t MakeOrderPrefix(AttributeBytesIdEnum kind, const CXString& text);

    /// What every display begins with: the kind's name and "AttributeBytes Id".
    CXString GetBaseDumpDisplayString() const;

private:
    friend class AttributeBytesIndexedList;
};

/// What all identifier classes share, given their HasEqualPayload, HasLessPayload and
/// AppendTypeAndIdentifierState.
template <class Concrete, AttributeBytesId::AttributeBytesIdEnum kind>
class AttributeBytesIdOfKind : public AttributeBytesId {
public:
    AttributeBytesIdEnum GetAttributeBytesIdType() const override { return kind; }
    std::unique_ptr<AttributeBytesId> Clone() const override { return std::make_unique<Concrete>(Self()); }
    bool IsEqual(const AttributeBytesId& other) const override {
        return AttributeBytesId::operator==(other) &&
               Self().HasEqualPayload(static_cast<const Concrete&>(other));
    }
    bool LessThan(const AttributeBytesId& other) const override {
        if (!AttributeBytesId::operator==(other)) return AttributeBytesId::operator<(other);
        return Self().HasLessPayload(static_cast<const Concrete&>(other));
    }

    friend bool operator==(const Concrete& left, const Concrete& right) {
        return left.HasEqualPayload(right);
    }
    friend bool operator<(const Concrete& left, const Concrete& right) { return left.HasLessPayload(right); }

protected:
    ByteBuffer GetIdentifierState() const override {
        const ByteBuffer state = GetTypeAndIdentifierState();
        return {state.begin() + 1, state.end()};
    }
    static constexpr BYTE kindByte = BYTE{kind};

private:
    const Concrete& Self() const { return static_cast<const Concrete&>(*this); }
};

/// What the identifiers share that hold one signed 32-bit number.
template <class Concrete, AttributeBytesId::AttributeBytesIdEnum kind>
class AttributeBytesNumberId : public AttributeBytesIdOfKind<Concrete, kind> {
public:
    void AppendTypeAndIdentifierState(ByteBuffer& out) const override {
        out.appendValues(this->kindByte, m_number);
    }
    bool HasEqualPayload(const Concrete& other) const { return m_number == other.m_number; }
    bool HasLessPayload(const Concrete& other) const { return m_number < other.m_number; }

protected:
    explicit AttributeBytesNumberId(LONG number) : m_number(number) {}

    void WalkBufferToSetIdentifier(BYTE*& cursor, unsigned& remaining) override {
        m_number = ByteBuffer::WalkBufferToGetLong(cursor, remaining);
    }
    std::uint64_t GetOrderPrefix() const override {
        return AttributeBytesId::MakeOrderPrefix(kind, m_number, 0);
    }

    LONG m_number;
};

/// What the identifiers share that hold one text.
template <class Concrete, AttributeBytesId::AttributeBytesIdEnum kind>
class AttributeBytesTextId : public AttributeBytesIdOfKind<Concrete, kind> {
public:
    CXString GetDumpDisplayString(bool /*ignored*/ = false) const override {
        // As a pointer, like every text that a display is formatted with: it ends at a zero unit.
        return this->GetBaseDumpDisplayString() + NV_TEXT(": ") + static_cast<const WChar*>(m_text);
    }
    const CXString* FindText() const override { return &m_text; }
    void AppendTypeAndIdentifierState(ByteBuffer& out) const override {
        out.appendValues(this->kindByte).appendCountedString(m_text);
    }
    bool HasEqualPayload(const Concrete& other) const { return m_text.Compare(other.m_text) == 0; }
    bool HasLessPayload(const Concrete& other) const { return m_text.Compare(other.m_text) < 0; }

protected:
    explicit AttributeBytesTextId(const CXString& text) : m_text(text) {}

    void WalkBufferToSetIdentifier(BYTE*& cursor, unsigned& remaining) override {
        m_text = ByteBuffer::WalkBufferToGetCountedString(cursor, remaining);
    }
    std::uint64_t GetOrderPrefix() const override { return AttributeBytesId::MakeOrderPrefix(kind, m_text); }

    CXString m_text;
};

/// A feature, by its number.
class NVUTIL_API AttributeBytesFeatureId final
    : public AttributeBytesNumberId<AttributeBytesFeatureId, AttributeBytesId::ABIDE_FEATURE> {
public:
    explicit AttributeBytesFeatureId(LONG featureId = 0) : AttributeBytesNumberId(featureId) {}
    LONG GetFeatureId() const { return m_number; }
    void SetFeatureId(LONG featureId) { m_number = featureId; }
    CXString GetDumpDisplayString(bool ignored = false) const override;
};

/// A feature that has no number yet, by its name.
class NVUTIL_API AttributeBytesNewFeatureId final
    : public AttributeBytesTextId<AttributeBytesNewFeatureId, AttributeBytesId::ABIDE_NEWFEATURE> {
public:
    explicit AttributeBytesNewFeatureId(const CXString& newFeatureId = CXString())
        : AttributeBytesTextId(newFeatureId) {}
    const CXString& GetNewFeatureId() const { return m_text; }
    void SetNewFeatureId(const CXString& newFeatureId) { m_text = newFeatureId; }
};

/// A value of a feature, by its number.
class NVUTIL_API AttributeBytesValueId final
    : public AttributeBytesNumberId<AttributeBytesValueId, AttributeBytesId::ABIDE_VALUE> {
public:
    explicit AttributeBytesValueId(LONG valueId = 0) : AttributeBytesNumberId(valueId) {}
    LONG GetValueId() const { return m_number; }
    void SetValueId(LONG valueId) { m_number = valueId; }
    CXString GetDumpDisplayString(bool ignored = false) const override;
};

/// A value that has no number yet, by its name.
class NVUTIL_API AttributeBytesNewValueId final
    : public AttributeBytesTextId<AttributeBytesNewValueId, AttributeBytesId::ABIDE_NEWVALUE> {
public:
    explicit AttributeBytesNewValueId(const CXString& newValueId = CXString())
        : AttributeBytesTextId(newValueId) {}
    const CXString& GetNewValueId() const { return m_text; }
    void SetNewValueId(const CXString& newValueId) { m_text = newValueId; }
};

/// An item of a list, by its index.
class NVUTIL_API AttributeBytesListOfValuesItemId final
    : public AttributeBytesNumberId<AttributeBytesListOfValuesItemId,
                                    AttributeBytesId::ABIDE_LISTOFVALUESITEM> {
public:
    explicit AttributeBytesListOfValuesItemId(LONG indexValue = 0) : AttributeBytesNumberId(indexValue) {}
    LONG GetIndexValue() const { return m_number; }
    void SetIndexValue(LONG indexValue) { m_number = indexValue; }
    CXString GetDumpDisplayString(bool ignored = false) const override;
};

/// A namespace, by its number.
class NVUTIL_API AttributeBytesNameSpacesId final
    : public AttributeBytesNumberId<AttributeBytesNameSpacesId, AttributeBytesId::ABIDE_NAMESPACE> {
public:
    explicit AttributeBytesNameSpacesId(LONG nameSpaceId = 0) : AttributeBytesNumberId(nameSpaceId) {}
    LONG GetNameSpaceId() const { return m_number; }
    void SetNameSpaceId(LONG nameSpaceId) { m_number = nameSpaceId; }
    CXString GetDumpDisplayString(bool ignored = false) const override;
};

/// A capability of a feature: the feature's number and the type of the capability.
class NVUTIL_API AttributeBytesCapabilityId final
    : public AttributeBytesIdOfKind<AttributeBytesCapabilityId, AttributeBytesId::ABIDE_CAPABILITY> {
public:
    AttributeBytesCapabilityId() = default;
    AttributeBytesCapabilityId(LONG featureId, short capabilityType)
        : m_featureId(featureId), m_capabilityType(capabilityType) {}
    LONG GetFeatureId() const { return m_featureId; }
    void SetFeatureId(LONG featureId) { m_featureId = featureId; }
    short GetCapabilityTypeEnum() const { return m_capabilityType; }
    void SetCapabilityTypeEnum(short capabilityType) { m_capabilityType = capabilityType; }
    CXString GetDumpDisplayString(bool ignored = false) const override;

    bool HasEqualPayload(const AttributeBytesCapabilityId& other) const;
    /// A smaller feature or a smaller type is less, so that two identifiers can each be less than the other.
    /// That is deliberate.
    bool HasLessPayload(const AttributeBytesCapabilityId& other) const;
    void AppendTypeAndIdentifierState(ByteBuffer& out) const override;

protected:
    void WalkBufferToSetIdentifier(BYTE*& cursor, unsigned& remaining) override;
    bool IsBefore(const AttributeBytesId& other) const override;
    std::uint64_t GetOrderPrefix() const override;

private:
    LONG m_featureId = 0;
    short m_capabilityType = 0;
    static auto Members(auto& self) { return std::tie(self.m_capabilityType, self.m_featureId); }
};

/// A capability of a feature that has no number yet: the feature's name and the type of the capability.
class NVUTIL_API AttributeBytesNewCapabilityId final
    : public AttributeBytesIdOfKind<AttributeBytesNewCapabilityId, AttributeBytesId::ABIDE_NEWCAPABILITY> {
public:
    AttributeBytesNewCapabilityId() = default;
    AttributeBytesNewCapabilityId(const CXString& newFeatureId, short capabilityType)
        : m_newFeatureId(newFeatureId), m_capabilityType(capabilityType) {}
    const CXString& GetNewFeatureId() const { return m_newFeatureId; }
    short GetCapabilityTypeEnum() const { return m_capabilityType; }
    void SetCapabilityTypeEnum(short capabilityType) { m_capabilityType = capabilityType; }
    CXString GetDumpDisplayString(bool ignored = false) const override;

    bool HasEqualPayload(const AttributeBytesNewCapabilityId& other) const;
    /// A smaller name or a smaller type is less, so that two identifiers can each be less than the other.
    /// That is deliberate.
    bool HasLessPayload(const AttributeBytesNewCapabilityId& other) const;
    void AppendTypeAndIdentifierState(ByteBuffer& out) const override;
    const CXString* FindText() const override { return &m_newFeatureId; }

protected:
    void WalkBufferToSetIdentifier(BYTE*& cursor, unsigned& remaining) override;
    bool IsBefore(const AttributeBytesId& other) const override;
    std::uint64_t GetOrderPrefix() const override;

private:
    CXString m_newFeatureId;
    short m_capabilityType = 0;
    static auto Members(auto& self) { return std::tie(self.m_capabilityType, self.m_newFeatureId); }
};
