// NorvaXmlParser: reads a document into the document-object layer and writes it out again.
#pragma once

#include <memory>

#include "platform/types.h"
#include "utilities/utilitiesdll/cxstring.h"
#include "utilities/xmlparser/xmldom.h"

class _com_error;

/// Receives the XML that a parser writes.
class NVUTIL_API XmlOutputCallback {
public:
    virtual ~XmlOutputCallback();
    /// @param data  valid only during the call
    virtual void handleOutput(const BYTE* data, std::uint32_t length) = 0;
};

/// A parser of one document. PlatformXmlParser names the implementation of the build.
///
/// Both builds refuse the same documents as too large, too deep, too widely expanding or reaching for other
/// files; docs/xml.md lists what is refused and how the engines differ.
class NVUTIL_API NorvaXmlParser {
public:
    /// @param systemId  path of the document; its DTD is looked for in the same folder
    /// @param validate  whether a document with a DTD must be valid, not only well-formed
    NorvaXmlParser(const CXString& systemId, bool validate);
    virtual ~NorvaXmlParser();
    NorvaXmlParser(const NorvaXmlParser&) = delete;
    NorvaXmlParser& operator=(const NorvaXmlParser&) = delete;

    /// Parses a file.
    /// @return false when there is no such file
    /// @throws NpifParseException (ErrorReportedDuringParse) when the document is refused; its parse error
    ///         tells why
    /// @throws ExceptionCreateFileForReading, ExceptionReadFile when the file cannot be read
    /// @throws ExceptionOutOfMemory
    virtual bool parse(const CXString& fileName) = 0;
    /// Parses bytes; does nothing when there are none.
    /// @throws NpifParseException, ExceptionOutOfMemory as above
    virtual void parse(unsigned char* data, DWORD length) = 0;
    /// Writes the document and hands over the bytes in one call.
    /// @throws NpifParseException (XmlExceptionRaisedDuringXmlGeneration), ExceptionOutOfMemory
    virtual void convertToXmlStream(XmlOutputCallback& callback) = 0;
    /// The document, which stays valid beyond the parser's end; empty before the first parse.
    virtual std::unique_ptr<XmlDomDocument> getDocument() = 0;

    const CXString& getSystemId() const { return systemId; }

protected:
    CXString systemId;
    bool validate;
};

// What each engine's parser declares.
#define NV_XML_PARSER_FUNCTIONS                                             \
public:                                                                     \
    bool parse(const CXString& fileName) override;                          \
    void parse(unsigned char* data, DWORD length) override;                 \
    void convertToXmlStream(XmlOutputCallback& callback) override;          \
    std::unique_ptr<XmlDomDocument> getDocument() override;                 \
    /** The text that users report of a COM error; docs/xml.md shows it. */ \
    static CXString formatCOMExceptionDisplayString(const _com_error& error);
