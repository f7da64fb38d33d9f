// AttributeBytesValueFactory: empty values by their kind.
#pragma once

#include <memory>

#include "platform/types.h"
#include "utilities/attributebytes/attributebytesvalue.h"

/// Makes values that then read their own payload.
class NVUTIL_API AttributeBytesValueFactory {
public:
    /// A default-constructed value of a kind from ABVTE_OPTION to ABVTE_DATETIME.
    /// @throws ExceptionUnhandledSyntax for any other number
    std::unique_ptr<AttributeBytesValue> CreateAttributeBytesValue(
        AttributeBytesValue::AttributeBytesValueEnum kind) const;
};
