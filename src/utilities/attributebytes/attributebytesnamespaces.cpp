// AttributeBytesNameSpaces: attributes grouped into numbered namespaces.
#include "utilities/attributebytes/attributebytesnamespaces.h"

#include <utility>

#include "utilities/attributebytes/statemark.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

constexpr StateMark mark("ABNS");
constexpr BYTE listTypeOfNameSpaces = 0;

}  // namespace

AttributeBytesNameSpaces::AttributeBytesNameSpaces() = default;

AttributeBytesNameSpaces::AttributeBytesNameSpaces(const ByteBuffer& state, DriverVersion* version) {
    const DriverVersion writer = ImportAttributeBytesNameSpacesState(state);
    if (version != nullptr) *version = writer;
}

// Copies are deep: a namespace set in one must not show in the other, as it would through a shared record.
AttributeBytesNameSpaces::AttributeBytesNameSpaces(const AttributeBytesNameSpaces& other) {
    *this = other;
}

AttributeBytesNameSpaces::AttributeBytesNameSpaces(AttributeBytesNameSpaces&& other) noexcept = default;

AttributeBytesNameSpaces& AttributeBytesNameSpaces::operator=(const AttributeBytesNameSpaces& other) {
    AttributeBytesIndexedList copy;
    for (auto it = other.m_nameSpaces.GetIndexedListIterator();
         other.m_nameSpaces.IsValidIndexedListIterator(it);
         other.m_nameSpaces.IncrementIndexedListIterator(it)) {
        copy.AddAttributeBytes(other.m_nameSpaces.GetAttributeBytesRefFromIndexedListIterator(it));
    }
    m_nameSpaces = std::move(copy);
    return *this;
}

AttributeBytesNameSpaces& AttributeBytesNameSpaces::operator=(AttributeBytesNameSpaces&& other) noexcept =
    default;

AttributeBytesNameSpaces::~AttributeBytesNameSpaces() = default;

bool AttributeBytesNameSpaces::Exists(const AttributeBytesNameSpacesId& id) const {
    return m_nameSpaces.GetAttributeBytesPtr(id) != nullptr;
}

unsigned AttributeBytesNameSpaces::GetCount() const {
    return static_cast<unsigned>(m_nameSpaces.GetCount());
}

void AttributeBytesNameSpaces::GetNameSpaceAttributes(const AttributeBytesNameSpacesId& id,
                                                      AttributeBytesRawList& out) const {
    m_nameSpaces.GetAttributeBytesRef(id).GetAttributeBytesValue().GetListValue().GetValue(out);
}

void AttributeBytesNameSpaces::GetNameSpaceByIndex(unsigned index, AttributeBytesRawList& out,
                                                   AttributeBytesNameSpacesId* id) const {
    if (index >= GetCount()) {
        NV_THROW(ExceptionIndexOutOfBounds, "AttributeBytesNameSpaces::GetNameSpaceByIndex", 148);
    }
    auto iterator = m_nameSpaces.GetIndexedListIterator();
    for (unsigned i = 0; i < index; ++i)
        m_nameSpaces.IncrementIndexedListIterator(iterator);
    const AttributeBytes& record = m_nameSpaces.GetAttributeBytesRefFromIndexedListIterator(iterator);
    record.GetAttributeBytesValue().GetListValue().GetValue(out);
    const AttributeBytesId& number = record.GetAttributeBytesId();
    if (id != nullptr && number.GetAttributeBytesIdType() == AttributeBytesId::ABIDE_NAMESPACE)
        *id = static_cast<const AttributeBytesNameSpacesId&>(number);
}

void AttributeBytesNameSpaces::SetNameSpaceAttributes(const AttributeBytesNameSpacesId& id,
                                                      const AttributeBytesRawList& attributes) {
    m_nameSpaces.SetAttributeBytes(id, AttributeBytesListValue(listTypeOfNameSpaces, attributes));
}

void AttributeBytesNameSpaces::DeleteNameSpaceAttributes(const AttributeBytesNameSpacesId& id) {
    m_nameSpaces.DeleteAttributesBytes(id);
}

void AttributeBytesNameSpaces::GetAttributeBytesNameSpacesState(ByteBuffer& out) const {
    ByteBuffer state;  // `out` keeps what it has when a record is refused
    mark.AppendTo(state);
    state.append(DriverVersion::GetCurrentDriverVersion().GetVersionAsByteBuffer());
    m_nameSpaces.AppendAttributeBytesIndexedListState(state);
    out.swap(state);
}

DriverVersion AttributeBytesNameSpaces::ImportAttributeBytesNameSpacesState(const ByteBuffer& state) {
    nvutil::ByteWalk walk(state);
    const bool isMarked = mark.Begins(walk.cursor, walk.remaining);
    ByteBuffer::WalkBufferToGetLong(walk.cursor, walk.remaining);
    if (!isMarked) {
        NV_THROW(ExceptionMissingOrBadAttributeBytesFormat,
                 "AttributeBytesNameSpaces::ImportAttributeBytesNameSpacesState", 226);
    }
    const DriverVersion version = DriverVersion::WalkBufferToGetDriverVersion(walk.cursor, walk.remaining);
    AttributeBytesIndexedList imported;
    imported.ImportAttributeBytesIndexedListState(walk.cursor, walk.remaining);
    m_nameSpaces = std::move(imported);
    return version;
}
