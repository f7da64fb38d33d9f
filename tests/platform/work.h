// What keeps a thread busy in every part of the library that has a lock of the process.
#pragma once

#include <set>

#include "environment/productdata.h"
#include "utilities/compression/cabcompressedbuffer.h"
#include "utilities/debuggingandexceptions/exceptions.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/dataencrypter.h"
#include "utilities/utilitiesdll/utilitiesdllperthreadstorage.h"

inline void Work() {
    CabCompressedBuffer compressed;
    compressed.Store(ByteBuffer(2000, BYTE{'x'}));
    DataEncrypter::DecryptBytes(DataEncrypter::EncryptBytes(ByteBuffer(20, BYTE{'s'})));
    std::set<CXString> models;
    ProductData::EnumerateInstalledDriverModels(models);
    try {
        ByteBuffer().getAsLongValue();
    } catch (
        const ExceptionNotEnoughBytesForDesiredDataType&) {  // NOLINT(bugprone-empty-catch): as it should
    }
    for (int i = 0; i < 500; ++i) {
        UtilitiesDllPerThreadStorage::GetExecutionContextStack();
        UtilitiesDllPerThreadStorage::CleanUpDueToThreadDetach(false);
    }
}
