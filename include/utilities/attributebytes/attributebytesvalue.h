// Attribute values: what an attribute holds.
//
// A value's bytes are one byte that holds its kind, one byte that is 0 when the value is specified and 1 when
// it is not, then the payload of that kind (see docs/formats.md). Option values are in
// attributebytesoptionvalue.h.
#pragma once

#include <memory>
#include <tuple>

#include "platform/types.h"
#include "utilities/attributebytes/attributebytesrawlist.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"
#include "utilities/utilitiesdll/dimension.h"
#include "utilities/utilitiesdll/smallobject.h"
#include "utilities/utilitiesdll/utctime.h"

class AttributeBytesListValue;

/// The base of all values. A value that is not specified still has a payload.
class NVUTIL_API AttributeBytesValue : public nvutil::SmallObject {
public:
    /// The kinds, by the numbers of their kind byte.
    enum AttributeBytesValueEnum : int {
        ABVTE_UNSPECIFIED = 1,  ///< No value has this kind.
        ABVTE_OPTION = 2,
        ABVTE_INTEGER = 3,
        ABVTE_STRING = 4,
        ABVTE_BOOLEAN = 5,
        ABVTE_RANGE = 6,
        ABVTE_RANGEOFDIMENSION = 7,
        ABVTE_DIMENSION = 8,
        ABVTE_RESOLUTION = 9,
        ABVTE_DATABLOB = 10,
        ABVTE_LIST = 11,
        ABVTE_DATETIME = 12,
    };

    virtual ~AttributeBytesValue();
    virtual AttributeBytesValueEnum GetAttributeBytesValueType() const = 0;
    virtual bool IsList() const;
    /// A new value of the same class, flag and payload.
    virtual std::unique_ptr<AttributeBytesValue> Clone() const = 0;
    /// Whether kinds, specified flags and payloads are equal.
    virtual bool IsEqual(const AttributeBytesValue& other) const = 0;
    /// An order by kind, then by payload. The specified flag takes no part; lists are never ordered.
    virtual bool LessThan(const AttributeBytesValue& other) const = 0;
    /// One line for people. The argument has no effect.
    virtual CXString GetDumpDisplayString(bool ignored = false) const = 0;
    /// Does nothing.
    virtual void Dump(bool ignored = false) const;

    bool IsSpecified() const { return m_isSpecified; }
    void SetIsSpecified(bool isSpecified) { m_isSpecified = isSpecified; }

    /// The kind byte, the unspecified byte and the payload.
    ByteBuffer GetTypeAndValueState() const;
    /// Replaces `out` by the same bytes.
    void GetTypeAndValueState(ByteBuffer& out) const;
    /// Writes the same bytes to a caller's buffer of `size` bytes.
    /// @return the number of bytes written
    /// @throws ExceptionNotEnoughBytesForDesiredDataType when they do not fit; nothing is written then
    unsigned GetTypeAndValueState(BYTE* buffer, unsigned size) const;

    /// Reads a kind byte, the unspecified byte and the payload of that kind.
    ///
    /// After a list value the cursor stands before the list's bytes while `remaining` has fallen by them:
    /// take the next position from `remaining`.
    /// @throws ExceptionUnhandledSyntax when the kind is unknown; its byte is consumed
    /// @throws ExceptionNotEnoughBytesForDesiredDataType when the bytes end too early
    static std::unique_ptr<AttributeBytesValue> WalkBufferToGetTypeAndCreateValue(BYTE*& cursor,
                                                                                  unsigned& remaining);

    /// This value as a list value.
    /// @throws ExceptionAttributeValueTypeMismatch when it is of another kind
    AttributeBytesListValue& GetListValue();
    const AttributeBytesListValue& GetListValue() const;

    /// The name of a kind, such as "ABVTE_INTEGER"; "UNKNOWN!" for any other number.
    static CXString GetDebugDisplayString(AttributeBytesValueEnum kind);
    /// The name of this value's kind.
    CXString GetTypeDebugDisplayString() const;

protected:
    explicit AttributeBytesValue(bool isSpecified) : m_isSpecified(isSpecified) {}
    AttributeBytesValue(const AttributeBytesValue&) = default;
    AttributeBytesValue& operator=(const AttributeBytesValue&) = default;

    virtual ByteBuffer GetValueState() const = 0;
    virtual void WalkBufferToSetValue(BYTE*& cursor, unsigned& remaining) = 0;

public:
    /// Appends the kind byte, the unspecified byte and the payload.
    virtual void AppendTypeAndValueState(ByteBuffer& out) const = 0;
    /// The text in the payload; null when there is none. That of a list's records is not looked at.
    virtual const CXString* FindText() const { return nullptr; }

protected:
    /// What stands behind the kind byte.
    BYTE UnspecifiedByte() const { return m_isSpecified ? 0 : 1; }

    /// Whether kinds and specified flags are equal.
    bool operator==(const AttributeBytesValue& other) const;

    /// What every display begins with: the kind's name and whether the value is specified.
    CXString GetBaseDumpDisplayString() const;

private:
    bool m_isSpecified;
};

/// What all value classes share, given their HasEqualPayload, HasLessPayload and AppendTypeAndValueState.
template <class Concrete, AttributeBytesValue::AttributeBytesValueEnum valueKind>
class AttributeBytesValueOfKind : public AttributeBytesValue {
public:
    static constexpr AttributeBytesValueEnum kind = valueKind;

    AttributeBytesValueEnum GetAttributeBytesValueType() const override { return kind; }
    std::unique_ptr<AttributeBytesValue> Clone() const override { return std::make_unique<Concrete>(Self()); }
    bool IsEqual(const AttributeBytesValue& other) const override {
        return AttributeBytesValue::operator==(other) &&
               Self().HasEqualPayload(static_cast<const Concrete&>(other));
    }
    bool LessThan(const AttributeBytesValue& other) const override {
        const AttributeBytesValueEnum otherKind = other.GetAttributeBytesValueType();
        if (otherKind != kind) return kind < otherKind;
        return Self().HasLessPayload(static_cast<const Concrete&>(other));
    }

    friend bool operator==(const Concrete& left, const Concrete& right) { return left.IsEqual(right); }

protected:
    using AttributeBytesValue::AttributeBytesValue;

    ByteBuffer GetValueState() const override {
        const ByteBuffer state = GetTypeAndValueState();
        return {state.begin() + 2, state.end()};
    }
    static constexpr BYTE kindByte = BYTE{kind};

private:
    const Concrete& Self() const { return static_cast<const Concrete&>(*this); }
};

// What each class repeats: the functions of the value family that know its payload. Most classes state it as
// their Members in the order of the bytes, from which reader, writer, equality and order follow.
#define NV_VALUE_PAYLOAD_FUNCTIONS(Class)                               \
public:                                                                 \
    CXString GetDumpDisplayString(bool ignored = false) const override; \
    void AppendTypeAndValueState(ByteBuffer& out) const override;       \
    bool HasEqualPayload(const Class& other) const;                     \
    bool HasLessPayload(const Class& other) const;                      \
                                                                        \
protected:                                                              \
    void WalkBufferToSetValue(BYTE*& cursor, unsigned& remaining) override;

/// A signed 32-bit number.
class NVUTIL_API AttributeBytesIntegerValue final
    : public AttributeBytesValueOfKind<AttributeBytesIntegerValue, AttributeBytesValue::ABVTE_INTEGER> {
public:
    explicit AttributeBytesIntegerValue(LONG value = 0, bool isSpecified = true)
        : AttributeBytesValueOfKind(isSpecified), m_value(value) {}
    LONG GetValue() const { return m_value; }
    void SetValue(LONG value) { m_value = value; }
    NV_VALUE_PAYLOAD_FUNCTIONS(AttributeBytesIntegerValue)

private:
    LONG m_value;
    static auto Members(auto& self) { return std::tie(self.m_value); }
};

/// A text. Lists take none that is longer than AttributeBytesId::maxTextLength.
class NVUTIL_API AttributeBytesStringValue final
    : public AttributeBytesValueOfKind<AttributeBytesStringValue, AttributeBytesValue::ABVTE_STRING> {
public:
    explicit AttributeBytesStringValue(const CXString& value = CXString(), bool isSpecified = true)
        : AttributeBytesValueOfKind(isSpecified), m_value(value) {}
    const CXString& GetValue() const { return m_value; }
    void SetValue(const CXString& value) { m_value = value; }
    const CXString* FindText() const override { return &m_value; }
    NV_VALUE_PAYLOAD_FUNCTIONS(AttributeBytesStringValue)

private:
    CXString m_value;
    static auto Members(auto& self) { return std::tie(self.m_value); }
};

/// True or false.
class NVUTIL_API AttributeBytesBooleanValue final
    : public AttributeBytesValueOfKind<AttributeBytesBooleanValue, AttributeBytesValue::ABVTE_BOOLEAN> {
public:
    explicit AttributeBytesBooleanValue(bool value = false, bool isSpecified = true)
        : AttributeBytesValueOfKind(isSpecified), m_value(value) {}
    bool GetValue() const { return m_value; }
    void SetValue(bool value) { m_value = value; }
    NV_VALUE_PAYLOAD_FUNCTIONS(AttributeBytesBooleanValue)

private:
    bool m_value;
    static auto Members(auto& self) { return std::tie(self.m_value); }
};

/// Two signed 32-bit numbers, the low and the high end.
class NVUTIL_API AttributeBytesRangeValue final
    : public AttributeBytesValueOfKind<AttributeBytesRangeValue, AttributeBytesValue::ABVTE_RANGE> {
public:
    explicit AttributeBytesRangeValue(LONG low = 0, LONG high = 0, bool isSpecified = true)
        : AttributeBytesValueOfKind(isSpecified), m_low(low), m_high(high) {}
    void GetValue(LONG& low, LONG& high) const;
    void SetValue(LONG low, LONG high);
    NV_VALUE_PAYLOAD_FUNCTIONS(AttributeBytesRangeValue)

private:
    LONG m_low;
    LONG m_high;
    static auto Members(auto& self) { return std::tie(self.m_low, self.m_high); }
};

/// Two lengths, the low and the high end, stored in whole thousandths of a millimetre.
class NVUTIL_API AttributeBytesRangeOfDimensionValue final
    : public AttributeBytesValueOfKind<AttributeBytesRangeOfDimensionValue,
                                       AttributeBytesValue::ABVTE_RANGEOFDIMENSION> {
public:
    explicit AttributeBytesRangeOfDimensionValue(const Dimension& low = Dimension(),
                                                 const Dimension& high = Dimension(), bool isSpecified = true)
        : AttributeBytesValueOfKind(isSpecified), m_low(low), m_high(high) {}
    void GetValue(Dimension& low, Dimension& high) const;
    void SetValue(const Dimension& low, const Dimension& high);
    NV_VALUE_PAYLOAD_FUNCTIONS(AttributeBytesRangeOfDimensionValue)

private:
    Dimension m_low;
    Dimension m_high;
    static auto Members(auto& self) { return std::tie(self.m_low, self.m_high); }
};

/// A length, stored in whole thousandths of a millimetre.
class NVUTIL_API AttributeBytesDimensionValue final
    : public AttributeBytesValueOfKind<AttributeBytesDimensionValue, AttributeBytesValue::ABVTE_DIMENSION> {
public:
    explicit AttributeBytesDimensionValue(const Dimension& value = Dimension(), bool isSpecified = true)
        : AttributeBytesValueOfKind(isSpecified), m_value(value) {}
    const Dimension& GetValue() const { return m_value; }
    void SetValue(const Dimension& value) { m_value = value; }
    NV_VALUE_PAYLOAD_FUNCTIONS(AttributeBytesDimensionValue)

private:
    Dimension m_value;
    static auto Members(auto& self) { return std::tie(self.m_value); }
};

/// A resolution across and along the direction of the paper's feed. What the units number means is the
/// driver's.
class NVUTIL_API AttributeBytesResolutionValue final
    : public AttributeBytesValueOfKind<AttributeBytesResolutionValue, AttributeBytesValue::ABVTE_RESOLUTION> {
public:
    explicit AttributeBytesResolutionValue(LONG crossFeed = 0, LONG feed = 0, short units = 0,
                                           bool isSpecified = true)
        : AttributeBytesValueOfKind(isSpecified), m_crossFeed(crossFeed), m_feed(feed), m_units(units) {}
    void GetValue(LONG& crossFeed, LONG& feed, short& units) const;
    void SetValue(LONG crossFeed, LONG feed, short units);
    NV_VALUE_PAYLOAD_FUNCTIONS(AttributeBytesResolutionValue)

private:
    LONG m_crossFeed;
    LONG m_feed;
    short m_units;

    /// The feed first, although everything else names the cross-feed first: deliberate.
    static auto Members(auto& self) { return std::tie(self.m_feed, self.m_crossFeed, self.m_units); }
};

/// Any bytes. Their display shows short ones in hexadecimal.
class NVUTIL_API AttributeBytesDataBlobValue final
    : public AttributeBytesValueOfKind<AttributeBytesDataBlobValue, AttributeBytesValue::ABVTE_DATABLOB> {
public:
    explicit AttributeBytesDataBlobValue(const ByteBuffer& value = ByteBuffer(), bool isSpecified = true)
        : AttributeBytesValueOfKind(isSpecified), m_value(value) {}
    const ByteBuffer& GetValue() const { return m_value; }
    void GetValue(ByteBuffer& value) const { value = m_value; }
    void SetValue(const ByteBuffer& value) { m_value = value; }
    NV_VALUE_PAYLOAD_FUNCTIONS(AttributeBytesDataBlobValue)

private:
    ByteBuffer m_value;
    static auto Members(auto& self) { return std::tie(self.m_value); }
};

/// A list of attributes. What the type number means is the driver's.
class NVUTIL_API AttributeBytesListValue final
    : public AttributeBytesValueOfKind<AttributeBytesListValue, AttributeBytesValue::ABVTE_LIST> {
public:
    /// An empty list of type 0.
    AttributeBytesListValue() : AttributeBytesListValue(0, AttributeBytesRawList()) {}
    AttributeBytesListValue(BYTE listType, const AttributeBytesRawList& value)
        : AttributeBytesValueOfKind(true), m_listType(listType), m_value(value) {}
    bool IsList() const override { return true; }
    BYTE GetListType() const { return m_listType; }
    void SetListType(BYTE listType) { m_listType = listType; }
    const AttributeBytesRawList& GetValue() const { return m_value; }
    void GetValue(AttributeBytesRawList& value) const { value = m_value; }
    void SetValue(const AttributeBytesRawList& value) { m_value = value; }
    NV_VALUE_PAYLOAD_FUNCTIONS(AttributeBytesListValue)

private:
    BYTE m_listType;
    AttributeBytesRawList m_value;
};

/// A time. Comparisons look at the low 32 bits only.
class NVUTIL_API AttributeBytesDateTimeValue final
    : public AttributeBytesValueOfKind<AttributeBytesDateTimeValue, AttributeBytesValue::ABVTE_DATETIME> {
public:
    explicit AttributeBytesDateTimeValue(const UtcTime& value = UtcTime(), bool isSpecified = true)
        : AttributeBytesValueOfKind(isSpecified), m_value(value) {}
    const UtcTime& GetValue() const { return m_value; }
    void SetValue(const UtcTime& value) { m_value = value; }
    NV_VALUE_PAYLOAD_FUNCTIONS(AttributeBytesDateTimeValue)

private:
    UtcTime m_value;
    static auto Members(auto& self) { return std::tie(self.m_value); }
};
