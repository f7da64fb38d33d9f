// AttributeBytesIdFactory: empty identifiers by their kind.
#include "utilities/attributebytes/attributebytesidfactory.h"

#include "utilities/debuggingandexceptions/throwprotocol.h"

std::unique_ptr<AttributeBytesId> AttributeBytesIdFactory::CreateAttributeBytesId(
    AttributeBytesId::AttributeBytesIdEnum kind) const {
    switch (kind) {
        case AttributeBytesId::ABIDE_FEATURE:
            return std::make_unique<AttributeBytesFeatureId>();
        case AttributeBytesId::ABIDE_NEWFEATURE:
            return std::make_unique<AttributeBytesNewFeatureId>();
        case AttributeBytesId::ABIDE_VALUE:
            return std::make_unique<AttributeBytesValueId>();
        case AttributeBytesId::ABIDE_NEWVALUE:
            return std::make_unique<AttributeBytesNewValueId>();
        case AttributeBytesId::ABIDE_LISTOFVALUESITEM:
            return std::make_unique<AttributeBytesListOfValuesItemId>();
        case AttributeBytesId::ABIDE_CAPABILITY:
            return std::make_unique<AttributeBytesCapabilityId>();
        case AttributeBytesId::ABIDE_NEWCAPABILITY:
            return std::make_unique<AttributeBytesNewCapabilityId>();
        case AttributeBytesId::ABIDE_NAMESPACE:
            return std::make_unique<AttributeBytesNameSpacesId>();
        default:
            // The empty message is deliberate: users know this failure by its line.
            NV_THROW(ExceptionUnhandledSyntax, "AttributeBytesIdFactory::CreateAttributeBytesId", 62,
                     NV_TEXT(""));
    }
}
