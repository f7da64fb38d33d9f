// AttributeBytesIdFactory: empty identifiers by their kind.
#pragma once

#include <memory>

#include "platform/types.h"
#include "utilities/attributebytes/attributebytesid.h"

/// Makes identifiers that then read their own payload.
class NVUTIL_API AttributeBytesIdFactory {
public:
    /// A default-constructed identifier of a kind from ABIDE_FEATURE to ABIDE_NAMESPACE.
    /// @throws ExceptionUnhandledSyntax for any other number
    std::unique_ptr<AttributeBytesId> CreateAttributeBytesId(
        AttributeBytesId::AttributeBytesIdEnum kind) const;
};
