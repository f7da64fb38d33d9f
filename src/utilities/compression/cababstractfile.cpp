// CabAbstractFile: names, attributes and error details of virtual files.
#include "utilities/compression/cababstractfile.h"

namespace {

// 12 March 1997, 11:13:52: the moment that upgraded buffers have always carried.
constexpr CabFileAttributes fixedAttributes{0x226C, 0x59BA, 0};

}  // namespace

CabOpenFile::~CabOpenFile() = default;

CabAbstractFile::CabAbstractFile(const char* pathAndName)
    : m_pathAndName(pathAndName), m_nameBegin(m_pathAndName.rfind('\\') + 1) {}

CabAbstractFile::~CabAbstractFile() = default;

std::string_view CabAbstractFile::GetNameWithoutPath() const {
    return std::string_view(m_pathAndName).substr(m_nameBegin);
}

std::string_view CabAbstractFile::GetPath() const {
    return std::string_view(m_pathAndName).substr(0, m_nameBegin);
}

std::unique_ptr<CabOpenFile> CabAbstractFile::OpenCabFile(int flags, int mode, int& error) {
    return DoOpenCabFile(flags, mode, error);
}

CabFileAttributes CabAbstractFile::GetCabFileAttributes() const {
    return fixedAttributes;
}

void CabAbstractFile::AppendErrorDetails(const WChar* text) {
    if (m_errorDetails != nullptr) *m_errorDetails += text;
}
