// PersistentAttributes: attribute namespaces as one compressed, versioned buffer.
#pragma once

#include <memory>

#include "platform/types.h"
#include "utilities/attributebytes/attributebytesnamespaces.h"
#include "utilities/attributebytes/attributebytesrawlist.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"
#include "utilities/utilitiesdll/driverversion.h"

/// Holds the complete persisted bytes, and the namespaces that they were found to hold when they were
/// imported.
///
/// The state is a header of 16 bytes and then the state of a CabCompressedBuffer that holds the namespaces'
/// state. Every member that meets bytes of another form throws
/// ExceptionMissingOrBadPersistentAttributesFormat.
class NVUTIL_API PersistentAttributes {
public:
    /// What a state begins with; all fields little-endian.
    struct PersistentAttributesHeaderType {
        DWORD headerSize;       ///< Always 16.
        DWORD formatVersion;    ///< Always 0x20070001.
        WORD driverVersion[4];  ///< The version of the driver that wrote the state, most significant part
                                ///< first.
    };

    /// An empty set of namespaces, written by the current driver version.
    PersistentAttributes();
    /// Imports a state; see ImportPersistentAttributesState.
    /// @param version  receives the version of the driver that wrote it, when not null
    explicit PersistentAttributes(const ByteBuffer& state, bool checkRecords = false,
                                  DriverVersion* version = nullptr);
    explicit PersistentAttributes(const AttributeBytesNameSpaces& nameSpaces);
    /// A copy has the bytes alone, and so shares nothing with the object that another thread may use.
    PersistentAttributes(const PersistentAttributes& other) : m_state(other.m_state) {}
    PersistentAttributes(PersistentAttributes&& other) noexcept = default;
    PersistentAttributes& operator=(PersistentAttributes other) noexcept {
        m_state.swap(other.m_state);
        m_nameSpaces.swap(other.m_nameSpaces);
        return *this;
    }
    ~PersistentAttributes() = default;

    const ByteBuffer& GetPersistentAttributesState() const { return m_state; }
    DWORD GetPersistentAttributesStateSize() const { return m_state.getDword(); }

    /// Replaces the state by one that holds these namespaces, written by the current driver version.
    void SetAttributeBytesNameSpaces(const AttributeBytesNameSpaces& nameSpaces);
    /// A copy of the namespaces. They are those of the import; only a state that this object wrote or copied
    /// is expanded for each request, which then throws what
    /// AttributeBytesNameSpaces::ImportAttributeBytesNameSpacesState does.
    AttributeBytesNameSpaces GetAttributeBytesNameSpaces() const;
    /// Replaces `out` by one namespace, likewise.
    /// @throws ExceptionFeatureNotFound when the namespace is absent
    void GetAttributeBytesListForNameSpace(const AttributeBytesNameSpacesId& id,
                                           AttributeBytesRawList& out) const;

    /// Replaces the state by these bytes, once their header, their compression and their namespaces are found
    /// good. Otherwise it throws, and the object and `version` stay as they are.
    ///
    /// @param version       receives the version of the driver that wrote them
    /// @param checkRecords  also parse every record, nested lists included, so that damage is found now and
    ///                      not when iteration reaches it
    /// @param allowUpgrade  whether an older layout may be converted; there is none yet, and it has no effect
    /// @return true
    bool ImportPersistentAttributesState(const ByteBuffer& state, DriverVersion& version,
                                         bool checkRecords = false, bool allowUpgrade = true);
    /// The namespaces of a state, checked and thrown for as ImportPersistentAttributesState does, where the
    /// bytes are not needed any more.
    static AttributeBytesNameSpaces ReadNameSpaces(const ByteBuffer& state, bool checkRecords = false,
                                                   DriverVersion* version = nullptr);
    /// Expands the compressed part of a state.
    static void ValidateCompressedData(const ByteBuffer& compressed);

    // The three namespaces that the library names.
    static const AttributeBytesNameSpacesId& GetDataModelDocPropNameSpaceId();
    static const AttributeBytesNameSpacesId& GetDataModelDevicePropNameSpaceId();
    static const AttributeBytesNameSpacesId& GetMsDeviceCapabilitiesNameSpaceId();

    static bool IsCurrentVersionHeader(const PersistentAttributesHeaderType& header);
    static void InitializeHeaderStructure(PersistentAttributesHeaderType& header);
    /// Splits a state into its header and its compressed part.
    static void GetMajorComponentsFromStateDataBuffer(const ByteBuffer& state,
                                                      PersistentAttributesHeaderType& header,
                                                      ByteBuffer& compressed);
    /// Expands a compressed part into the namespaces' state.
    static void GetComponentsFromCompressedDataBuffer(const ByteBuffer& compressed, ByteBuffer& uncompressed);
    /// Splits a state and expands its compressed part.
    static void GetComponentsFromStateDataBuffer(const ByteBuffer& state,
                                                 PersistentAttributesHeaderType& header,
                                                 ByteBuffer& uncompressed);
    /// Compresses a namespaces' state and puts the header in front of it.
    static void CreateStateDataFromComponents(const PersistentAttributesHeaderType& header,
                                              const ByteBuffer& uncompressed, ByteBuffer& state);
    /// The state unchanged: there is no older layout to convert.
    static ByteBuffer UpgradeOldStateDataVersionIfNecessary(const ByteBuffer& state);
    /// A description of several lines: the header, the sizes and, when asked for, one line an attribute.
    /// Damage becomes part of the text.
    static CXString DumpStateData(const ByteBuffer& state, bool withAttributes);

private:
    void DoDefaultConstruction();

    ByteBuffer m_state;
    /// What `m_state` holds when it was imported here; null when it was written or copied.
    std::unique_ptr<const AttributeBytesNameSpaces> m_nameSpaces;
};
