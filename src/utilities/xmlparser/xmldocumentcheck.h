// The check that a document passes before an engine gets to see it.
#pragma once

#include <optional>
#include <span>

#include "platform/types.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"
#include "utilities/xmlparser/xmlparseerror.h"
#include "utilities/xmlparser/xmltext.h"

namespace nvutil {

/// A document that may be given to an engine. Refers to the bytes that it was made from.
struct CheckedDocument {
    XmlText text;
    bool hasExternalDtd = false;  ///< whether its DTD was read
    CXString dtdPath;
    ByteBuffer dtdBytes;
    XmlText dtd;
};

}  // namespace nvutil

/// Checks a document's size, encoding, depth, attributes and entities against the limits of xmllimits.h.
///
/// Documents come from anywhere, and engines differ in what they survive and in what they fetch. So both
/// builds refuse the same ones, and an engine meets only documents that it can hold. What is merely not
/// well-formed is the engine's to find. The time is proportional to the size of document and DTD.
///
/// The DTD is read when the document must be valid, and only from the document's own folder.
///
/// @param systemId  path of the document
/// @param validate  whether the engine will read the DTD
/// @return what the document is refused for
std::optional<nvutil::XmlParseError> CheckDocument(std::span<const BYTE> bytes, const CXString& systemId,
                                                   bool validate, nvutil::CheckedDocument& document);
