// AttributeBytesValueFactory: empty values by their kind.
#include "utilities/attributebytes/attributebytesvaluefactory.h"

#include "utilities/attributebytes/attributebytesoptionvalue.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

std::unique_ptr<AttributeBytesValue> AttributeBytesValueFactory::CreateAttributeBytesValue(
    AttributeBytesValue::AttributeBytesValueEnum kind) const {
    switch (kind) {
        case AttributeBytesValue::ABVTE_OPTION:
            return std::make_unique<AttributeBytesOptionValue>();
        case AttributeBytesValue::ABVTE_INTEGER:
            return std::make_unique<AttributeBytesIntegerValue>();
        case AttributeBytesValue::ABVTE_STRING:
            return std::make_unique<AttributeBytesStringValue>();
        case AttributeBytesValue::ABVTE_BOOLEAN:
            return std::make_unique<AttributeBytesBooleanValue>();
        case AttributeBytesValue::ABVTE_RANGE:
            return std::make_unique<AttributeBytesRangeValue>();
        case AttributeBytesValue::ABVTE_RANGEOFDIMENSION:
            return std::make_unique<AttributeBytesRangeOfDimensionValue>();
        case AttributeBytesValue::ABVTE_DIMENSION:
            return std::make_unique<AttributeBytesDimensionValue>();
        case AttributeBytesValue::ABVTE_RESOLUTION:
            return std::make_unique<AttributeBytesResolutionValue>();
        case AttributeBytesValue::ABVTE_DATABLOB:
            return std::make_unique<AttributeBytesDataBlobValue>();
        case AttributeBytesValue::ABVTE_LIST:
            return std::make_unique<AttributeBytesListValue>();
        case AttributeBytesValue::ABVTE_DATETIME:
            return std::make_unique<AttributeBytesDateTimeValue>();
        default:
            NV_THROW(ExceptionUnhandledSyntax, "AttributeBytesValueFactory::CreateAttributeBytesValue",
                     __LINE__);
    }
}
