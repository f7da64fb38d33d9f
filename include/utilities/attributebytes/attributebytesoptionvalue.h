// AttributeBytesOptionValue: the option of a feature that is chosen.
#pragma once

#include <memory>

#include "platform/types.h"
#include "utilities/attributebytes/attributebytesid.h"
#include "utilities/attributebytes/attributebytesvalue.h"

/// A value that is itself an identifier, which it owns alone. Copies are deep.
class NVUTIL_API AttributeBytesOptionValue final
    : public AttributeBytesValueOfKind<AttributeBytesOptionValue, AttributeBytesValue::ABVTE_OPTION> {
public:
    /// Holds the list item of index 0, which is what readers of an option that was never set expect.
    AttributeBytesOptionValue();
    /// Clones the identifier.
    explicit AttributeBytesOptionValue(const AttributeBytesId& value, bool isSpecified = true);
    /// Takes the identifier.
    /// @throws ExceptionInvalidArgumentNullPointer when there is none
    explicit AttributeBytesOptionValue(std::unique_ptr<AttributeBytesId> value, bool isSpecified = true);
    AttributeBytesOptionValue(const AttributeBytesOptionValue& other);
    AttributeBytesOptionValue& operator=(const AttributeBytesOptionValue& other);
    ~AttributeBytesOptionValue() override;

    AttributeBytesId& GetValue() { return *m_value; }
    const AttributeBytesId& GetValue() const { return *m_value; }
    /// The identifier as a value's or a feature's.
    /// @throws ExceptionAttributeValueTypeMismatch when it is of another kind
    AttributeBytesValueId& GetValueIdValue() const;
    AttributeBytesFeatureId& GetFeatureIdValue() const;
    void SetValue(const AttributeBytesId& value);
    /// @throws ExceptionInvalidArgumentNullPointer when there is none
    void SetValue(std::unique_ptr<AttributeBytesId> value);
    const CXString* FindText() const override { return m_value->FindText(); }
    NV_VALUE_PAYLOAD_FUNCTIONS(AttributeBytesOptionValue)

private:
    std::unique_ptr<AttributeBytesId> m_value;
};
