// The settings that the benchmarks read, write and compress.
#pragma once

#include "nvutil.h"

namespace bench {

inline constexpr int attributeCount = 200;

/// 200 features with the kinds of values that a printer's settings hold.
inline AttributeBytesIndexedList Settings() {
    AttributeBytesIndexedList list;
    for (LONG i = 0; i < attributeCount; ++i) {
        const AttributeBytesFeatureId id(1000 + 3 * i);
        switch (i % 6) {
            case 0:
                list.SetAttributeBytes(id, AttributeBytesIntegerValue(i * 37));
                break;
            case 1:
                list.SetAttributeBytes(id, AttributeBytesBooleanValue(i % 4 == 1));
                break;
            case 2:
                list.SetAttributeBytes(id, AttributeBytesOptionValue(AttributeBytesValueId(5000 + i)));
                break;
            case 3:
                list.SetAttributeBytes(id, AttributeBytesRangeValue(1, i));
                break;
            case 4:
                list.SetAttributeBytes(id, AttributeBytesResolutionValue(600, 1200, 1));
                break;
            default:
                list.SetAttributeBytes(id, AttributeBytesDimensionValue(
                                               Dimension(1000.0 * i, Dimension::ThousandthsOfMillimetres)));
        }
    }
    return list;
}

/// The settings as a namespaces' state: about 2.6 KB.
inline ByteBuffer SettingsState() {
    AttributeBytesRawList list;
    list.ImportFromIndexedList(Settings());
    AttributeBytesNameSpaces nameSpaces;
    nameSpaces.SetNameSpaceAttributes(PersistentAttributes::GetDataModelDocPropNameSpaceId(), list);
    ByteBuffer state;
    nameSpaces.GetAttributeBytesNameSpacesState(state);
    return state;
}

}  // namespace bench
