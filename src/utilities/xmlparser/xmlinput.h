// The files that a document is made of.
#pragma once

#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"

/// Reads the file of a document, of which at most one byte more than a document may have.
/// @return false when there is no such file
/// @throws ExceptionCreateFileForReading, ExceptionReadFile
bool ReadDocumentFile(const CXString& fileName, ByteBuffer& bytes);

/// Reads a file in the same way; anything but an ordinary file, a link too, counts as missing.
/// @return whether it could be read
bool ReadRegularFile(const CXString& fileName, ByteBuffer& bytes);

/// The folder of a path, with the separator at its end; empty when the path names none.
CXString FolderOf(const CXString& path);
