// PersistentAttributes: attribute namespaces as one compressed, versioned buffer.
#include "utilities/attributebytes/persistentattributes.h"

#include <cstring>
#include <utility>

#include "platform/fork.h"
#include "utilities/attributebytes/attributebytes.h"
#include "utilities/attributebytes/persistedstate.h"
#include "utilities/base/formattext.h"
#include "utilities/compression/cabcompressedbuffer.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

using Header = PersistentAttributes::PersistentAttributesHeaderType;

constexpr DWORD headerSize = 16;
constexpr DWORD currentFormatVersion = 0x20070001;
static_assert(sizeof(Header) == headerSize);

/// Does something with the raw list of each namespace.
template <class Visit>
void ForEachList(const AttributeBytesNameSpaces& nameSpaces, Visit visit) {
    const AttributeBytesIndexedList& all = nameSpaces.GetNameSpaces();
    for (auto iterator = all.GetIndexedListIterator(); all.IsValidIndexedListIterator(iterator);
         all.IncrementIndexedListIterator(iterator)) {
        const AttributeBytes& record = all.GetAttributeBytesRefFromIndexedListIterator(iterator);
        visit(record.GetAttributeBytesValue().GetListValue().GetValue());
    }
}

CXString DisplayOfAttributes(const AttributeBytesNameSpaces& nameSpaces) {
    CXString text;
    ForEachList(nameSpaces, [&text](const AttributeBytesRawList& list) {
        text += NV_TEXT("Namespace:\r\n");
        auto iterator = list.GetRawListIterator();
        while (list.IsValidRawListIterator(iterator)) {
            const auto record = list.GetNextAttributeBytesFromRawListIterator(iterator);
            text += NV_TEXT("  ") + record->GetDumpDisplayString() + NV_TEXT("\r\n");
        }
    });
    return text;
}

/// Expands a compressed part; `function` and `line` are where users know its failure by.
void Expand(const ByteBuffer& compressed, ByteBuffer& uncompressed, const char* function, int line) {
    try {
        CabCompressedBuffer::CreateWithBufferState(compressed)->GetOriginalData(uncompressed);
    } catch (const NorvaException& e) {
        NV_THROW(ExceptionMissingOrBadPersistentAttributesFormat, function, line,
                 NV_TEXT("the state cannot be expanded: %s"), e.GetExceptionIdentifierForUserDisplay());
    }
}

}  // namespace

nvutil::PersistedState nvutil::ReadPersistedState(const ByteBuffer& state, bool checkRecords) {
    constexpr auto function = "PersistentAttributes::ImportPersistentAttributesState";
    constexpr int line = 392;
    PersistedState read;
    ByteBuffer compressed;
    PersistentAttributes::GetMajorComponentsFromStateDataBuffer(state, read.header, compressed);
    if (!PersistentAttributes::IsCurrentVersionHeader(read.header)) {
        NV_THROW(ExceptionMissingOrBadPersistentAttributesFormat, function, line,
                 NV_TEXT("unknown format version 0x%08lx"), read.header.formatVersion);
    }
    PersistentAttributes::GetComponentsFromCompressedDataBuffer(compressed, read.uncompressed);
    try {
        read.version = read.nameSpaces.ImportAttributeBytesNameSpacesState(read.uncompressed);
        if (checkRecords)
            ForEachList(read.nameSpaces, [](const AttributeBytesRawList& list) { list.CheckRecords(); });
    } catch (const NorvaException& e) {
        NV_THROW(ExceptionMissingOrBadPersistentAttributesFormat, function, line,
                 NV_TEXT("the namespaces cannot be read: %s"), e.GetExceptionIdentifierForUserDisplay());
    }
    return read;
}

PersistentAttributes::PersistentAttributes() {
    DoDefaultConstruction();
}

PersistentAttributes::PersistentAttributes(const ByteBuffer& state, bool checkRecords,
                                           DriverVersion* version) {
    DriverVersion writer;
    ImportPersistentAttributesState(state, writer, checkRecords);
    if (version != nullptr) *version = writer;
}

PersistentAttributes::PersistentAttributes(const AttributeBytesNameSpaces& nameSpaces) {
    SetAttributeBytesNameSpaces(nameSpaces);
}

void PersistentAttributes::DoDefaultConstruction() {
    SetAttributeBytesNameSpaces(AttributeBytesNameSpaces());
}

void PersistentAttributes::SetAttributeBytesNameSpaces(const AttributeBytesNameSpaces& nameSpaces) {
    Header header;
    InitializeHeaderStructure(header);
    ByteBuffer uncompressed;
    nameSpaces.GetAttributeBytesNameSpacesState(uncompressed);
    ByteBuffer state;
    CreateStateDataFromComponents(header, uncompressed, state);
    m_state.swap(state);
    m_nameSpaces.reset();
}

AttributeBytesNameSpaces PersistentAttributes::GetAttributeBytesNameSpaces() const {
    if (m_nameSpaces != nullptr) return *m_nameSpaces;
    Header header;
    ByteBuffer uncompressed;
    GetComponentsFromStateDataBuffer(m_state, header, uncompressed);
    return AttributeBytesNameSpaces(uncompressed);
}

void PersistentAttributes::GetAttributeBytesListForNameSpace(const AttributeBytesNameSpacesId& id,
                                                             AttributeBytesRawList& out) const {
    if (m_nameSpaces != nullptr) return m_nameSpaces->GetNameSpaceAttributes(id, out);
    GetAttributeBytesNameSpaces().GetNameSpaceAttributes(id, out);
}

bool PersistentAttributes::ImportPersistentAttributesState(const ByteBuffer& state, DriverVersion& version,
                                                           bool checkRecords, bool /*allowUpgrade*/) {
    ByteBuffer upgraded = UpgradeOldStateDataVersionIfNecessary(state);
    nvutil::PersistedState read = nvutil::ReadPersistedState(upgraded, checkRecords);
    m_nameSpaces = std::make_unique<const AttributeBytesNameSpaces>(std::move(read.nameSpaces));
    m_state = std::move(upgraded);
    version = read.version;
    return true;
}

AttributeBytesNameSpaces PersistentAttributes::ReadNameSpaces(const ByteBuffer& state, bool checkRecords,
                                                              DriverVersion* version) {
    nvutil::PersistedState read = nvutil::ReadPersistedState(state, checkRecords);
    if (version != nullptr) *version = read.version;
    return std::move(read.nameSpaces);
}

void PersistentAttributes::ValidateCompressedData(const ByteBuffer& compressed) {
    ByteBuffer uncompressed;
    Expand(compressed, uncompressed, "PersistentAttributes::ValidateCompressedData", 728);
}

const AttributeBytesNameSpacesId& PersistentAttributes::GetDataModelDocPropNameSpaceId() {
    static const auto& id = *new AttributeBytesNameSpacesId(1);
    return id;
}

const AttributeBytesNameSpacesId& PersistentAttributes::GetDataModelDevicePropNameSpaceId() {
    static const auto& id = *new AttributeBytesNameSpacesId(2);
    return id;
}

const AttributeBytesNameSpacesId& PersistentAttributes::GetMsDeviceCapabilitiesNameSpaceId() {
    static const auto& id = *new AttributeBytesNameSpacesId(3);
    return id;
}

[[maybe_unused]] static const bool isMadeBeforeForks = platform::MakeBeforeForks([] {
    PersistentAttributes::GetDataModelDocPropNameSpaceId();
    PersistentAttributes::GetDataModelDevicePropNameSpaceId();
    PersistentAttributes::GetMsDeviceCapabilitiesNameSpaceId();
});

bool PersistentAttributes::IsCurrentVersionHeader(const Header& header) {
    return header.headerSize == headerSize && header.formatVersion == currentFormatVersion;
}

void PersistentAttributes::InitializeHeaderStructure(Header& header) {
    header.headerSize = headerSize;
    header.formatVersion = currentFormatVersion;
    WORD* parts = header.driverVersion;
    DriverVersion::GetCurrentDriverVersion().GetWordComponents(parts[0], parts[1], parts[2], parts[3]);
}

void PersistentAttributes::GetMajorComponentsFromStateDataBuffer(const ByteBuffer& state, Header& header,
                                                                 ByteBuffer& compressed) {
    Header read{};
    if (state.size() >= headerSize) std::memcpy(&read, state.data(), headerSize);
    if (read.headerSize != headerSize) {
        NV_THROW(ExceptionMissingOrBadPersistentAttributesFormat,
                 "PersistentAttributes::GetMajorComponentsFromStateDataBuffer", 527);
    }
    header = read;
    compressed = ByteBuffer(state.data() + headerSize, state.getDword() - headerSize);
}

void PersistentAttributes::GetComponentsFromCompressedDataBuffer(const ByteBuffer& compressed,
                                                                 ByteBuffer& uncompressed) {
    Expand(compressed, uncompressed, "PersistentAttributes::GetComponentsFromCompressedDataBuffer", 581);
}

void PersistentAttributes::GetComponentsFromStateDataBuffer(const ByteBuffer& state, Header& header,
                                                            ByteBuffer& uncompressed) {
    ByteBuffer compressed;
    GetMajorComponentsFromStateDataBuffer(state, header, compressed);
    GetComponentsFromCompressedDataBuffer(compressed, uncompressed);
}

void PersistentAttributes::CreateStateDataFromComponents(const Header& header, const ByteBuffer& uncompressed,
                                                         ByteBuffer& state) {
    CabCompressedBuffer buffer;
    buffer.Store(uncompressed);
    state.setWithLpbyte(reinterpret_cast<const BYTE*>(&header), headerSize);
    state.appendLpbyte(buffer.GetCompressedBufferStateLpbyte(), buffer.GetCompressedBufferStateDword());
}

ByteBuffer PersistentAttributes::UpgradeOldStateDataVersionIfNecessary(const ByteBuffer& state) {
    return state;
}

CXString PersistentAttributes::DumpStateData(const ByteBuffer& state, bool withAttributes) {
    CXString text;
    try {
        Header header;
        ByteBuffer compressed;
        GetMajorComponentsFromStateDataBuffer(state, header, compressed);
        text +=
            FormatText(NV_TEXT("Header: size %ld, format version 0x%08lx, driver version %d.%d.%d.%d\r\n"),
                       header.headerSize, header.formatVersion, header.driverVersion[0],
                       header.driverVersion[1], header.driverVersion[2], header.driverVersion[3]);
        ByteBuffer uncompressed;
        GetComponentsFromCompressedDataBuffer(compressed, uncompressed);
        text += FormatText(NV_TEXT("Compressed: %ld bytes, uncompressed: %ld bytes\r\n"),
                           compressed.getDword(), uncompressed.getDword());
        if (withAttributes) text += DisplayOfAttributes(AttributeBytesNameSpaces(uncompressed));
    } catch (const NorvaException& e) {
        text += FormatText(NV_TEXT("Damaged: %s %s\r\n"), e.GetExceptionIdentifierForUserDisplay(),
                           e.GetExceptionType());
    }
    return text;
}
