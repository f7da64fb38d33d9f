// Reads a checked document with libxml2.
#pragma once

#include <memory>

#include "utilities/xmlparser/posix/libxmltree.h"
#include "utilities/xmlparser/xmldocumentcheck.h"
#include "utilities/xmlparser/xmlparseerror.h"

/// What reading gave: a tree, or the error that there is none for.
struct LibXmlReading {
    std::shared_ptr<LibXmlTree> tree;
    nvutil::XmlParseError error;
};

/// Reads a document; texts of nothing but white space are left out unless "xml:space" keeps them.
/// @param systemId  names the document in errors
/// @param validate  whether a document with a DTD must be valid
/// @throws ExceptionOutOfMemory
LibXmlReading ReadWithLibXml(const nvutil::CheckedDocument& document, const CXString& systemId,
                             bool validate);
