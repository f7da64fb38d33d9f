// ProductModel: the printer, the product data folder and the current model that product data is asked about.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "environment/knownmappings.h"
#include "environment/mappingdata.h"
#include "environment/pdlcommandfile.h"
#include "environment/printer.h"
#include "environment/productdata.h"
#include "environment/productfiles.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"

namespace nvutil {

/// What ProductData is a front for. It takes no lock: its caller holds that of ProductData, which guards the
/// tables of the process too, unless a function says that it needs none.
///
/// No string in it is shared with one outside, which another thread may use.
class ProductModel {
public:
    ProductModel() = default;
    /// @param printer  null for none
    /// @throws ExceptionInvalidPrinterHandle
    ProductModel(HANDLE printer, const CXString& folder);

    /// Takes over another one's folder, model and, if wanted, printer and commands.
    void CopyFrom(const ProductModel& other, bool withPrinter, bool withCommands);

    HANDLE GetPrinterHandle() const { return m_printerHandle; }
    /// Null for none.
    Printer* GetPrinter() const { return m_printer.get(); }
    /// The name that the printer's models stand under in the tables of the process.
    platform::Text GetTableName() const;
    bool IsInitialized() const { return m_isInitialized; }
    /// Whether the current model is one that product data knows.
    bool IsValidated() const { return m_current.isKnown; }

    // The current model. A search that fails changes nothing.

    /// The first choice: a model that is looked for or, without one, the one that the printer had last. A
    /// name that nobody knows is still the model's name.
    void Initialize(ProductData::_ModelType type, const CXString& model);
    bool FindByName(const CXString& model);
    bool FindById(const CXString& key, const CXString& id);
    /// Reads the properties of the printer's models again from its driver data, as far as it can be read.
    void Refresh();

    // What is kept for maintenance and for the next one. These need no lock, write nothing without a printer,
    // and throw ExceptionPrinterFailure.

    /// Writes which folder is in use, by the one path that stays right in other sessions.
    void KeepFolderName();
    void KeepModelName();

    // Look-ups

    MappingData GetMapping() const;
    std::vector<CXString> GetModels() const;
    CXString GetModelName() const;
    CXString GetUniqueId() const;
    /// The value of a property of the current model.
    CXString GetValue(const CXString& key);
    /// The value of a property that is a path, as it is.
    std::optional<CXString> GetRelativePath(const CXString& key);
    /// The same, inside the product data folder.
    std::optional<CXString> GetPath(const CXString& key);
    std::optional<ByteBuffer> LoadFile(const CXString& key);
    CXString GetCacheFileName() const;
    /// Has the command file read again when it is needed next.
    void ForgetCommands() { m_current.commands.reset(); }
    /// Reads the command file unless that has been done.
    void ReadCommands();
    /// Null when there is none, or no commands have been read. It is valid until the model or its commands
    /// change.
    const PdlInstruction* FindInstruction(const CXString& feature, const CXString& option,
                                          ProductData::PdlType type, const CXString& qualifier) const;

private:
    struct Current {
        MappingData mapping;
        CXString uniqueId;
        bool isKnown = false;
        std::shared_ptr<const PdlCommandFile> commands;  ///< Null until they are read.
    };

    std::optional<KnownMappings::Entry> FindEntry(TextView model) const;

    HANDLE m_printerHandle = nullptr;
    std::unique_ptr<Printer> m_printer;
    CXString m_folder;
    productfiles::Identity m_folderIdentity;  ///< However the folder is named; empty for none.
    bool m_isInitialized = false;
    Current m_current;
};

}  // namespace nvutil
