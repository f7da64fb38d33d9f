// ProductData: which printer model is served, where its files lie, and its printer-language commands.
#pragma once

#include <memory>
#include <set>
#include <vector>

#include "environment/ampcommand.h"
#include "environment/mappingdata.h"
#include "platform/types.h"
#include "utilities/attributebytes/datamodelids.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"

namespace nvutil {
class ProductModel;
}

/// The product data of a model: properties from map files, files that they name, and commands from the
/// model's command file. docs/productdata.md describes the files.
///
/// It serves a printer, in whose driver data the properties are then kept too, or none ("Transient"). What
/// map files say is kept for the whole process, by the printer's name. One process-wide lock guards it and is
/// held by every look-up for its whole run, so that threads may look up in one object at the same time;
/// everything that changes an object needs it for itself.
///
/// Look-ups throw nothing: what is missing, damaged or out of bounds gives false or an empty text.
class NVUTIL_API ProductData {
public:
    /// What a model is looked for by. The name is the documented one, although C++ keeps such names to
    /// itself.
    enum _ModelType : LONG {
        ModelTypeName = 0,
        ModelTypeUsbProductId = 1,
        ModelTypeSysObjectId = 2,  ///< Of SNMP.
    };

    /// What GetPath and GetInfo are asked for, by the key of the property.
    enum InfoType : LONG {
        InfoTypeAuto = 0,               ///< GetPath: AUTO
        InfoTypeControllerFamily = 1,   ///< GetInfo: CONTROLLERFAMILY
        InfoTypeHlk = 2,                ///< GetPath: HLK
        InfoTypeModel = 3,              ///< GetInfo: the name of the current model
        InfoTypePdl = 4,                ///< GetPath: PDL, the command file
        InfoTypePmm = 5,                ///< GetPath: PMM
        InfoTypeFamilyPath = 6,         ///< GetPath and GetInfo: FAMPATH
        InfoTypeProductUniqueId = 7,    ///< GetInfo: the id of the printer's product
        InfoTypePsCout = 8,             ///< GetPath: PSCOUT
        InfoTypeNcap = 9,               ///< GetPath: NCAP
        InfoTypeFamilyName = 10,        ///< GetInfo: FAMILYNAME
        InfoTypeCompanyName = 11,       ///< GetInfo: COMPANYNAME
        InfoTypePlatformVersion = 12,   ///< GetInfo: PLATFORMVERSION
        InfoTypeColorCapable = 13,      ///< GetInfo: COLORCAPABLE
        InfoTypeRatedSpeed = 14,        ///< GetInfo: RATEDSPEED
        InfoTypeMargins = 15,           ///< GetPath: MARG
        InfoTypePrinterLanguages = 16,  ///< GetInfo: PRINTERLANG
    };

    /// Printer languages, as command files tell them apart.
    enum PdlType : LONG {
        PdlTypePcl = 0,
        PdlTypePjl = 0,  ///< Deliberately the same as PCL.
        PdlTypePcl5 = 1,
        PdlTypePcl6 = 2,
        PdlTypePs = 3,
        PdlTypeOther = 5,
    };

    /// Bits of GetSupportedPDLS.
    enum SupportedPdl : DWORD {
        SupportedPdlPcl6 = 0x40,
        SupportedPdlPcl5 = 0x80,
        SupportedPdlXRaster = 0x100,
        SupportedPdlPs = 0x200,
        SupportedPdlXps = 0x400,
    };

    /// The largest map or product file that is read, in bytes: 64 MiB. A larger one counts as missing.
    static const DWORD largestFile;

    /// Serves no printer and knows no model until Initialize is called.
    ProductData();
    /// Same as Initialize.
    ProductData(HANDLE printer, const CXString& folder, _ModelType type, const CXString& model);
    ProductData(const ProductData&) = delete;
    ProductData& operator=(const ProductData&) = delete;
    ~ProductData();

    /// Reads the map files of a folder and looks for the current model in them; then, for a printer, in what
    /// its driver data keeps.
    ///
    /// @param printer  an open printer, which stays the caller's to close and must stay open; null for none
    /// @param folder   the product data folder; empty for none
    /// @param model    the name or id of the model; empty for the one that the printer had last
    /// @throws ExceptionInvalidPrinterHandle, and ExceptionPrinterFailure when the driver data cannot be
    /// written; the object serves what it served before then
    void Initialize(HANDLE printer, const CXString& folder, _ModelType type, const CXString& model);
    /// Takes over another object's folder, model and commands.
    /// @param withPrinter   also serve its printer
    /// @param withCommands  also take the commands that it has read; they are read anew when needed otherwise
    void CopyFromAnother(ProductData& other, bool withPrinter, bool withCommands);

    /// The handle that was given to Initialize; null for none.
    HANDLE GetAssociatedPrinterHandle() const;
    bool IsInitialized() const;
    /// Whether the current model is one that product data knows.
    bool IsValidated() const;

    // Look-ups

    /// The path of a product file.
    /// @return false when there is no folder, no such property, or its path leaves the folder or names a
    /// device;
    ///         `out` is empty then. The file need not exist.
    bool GetPath(InfoType type, CXString& out);
    bool GetPath(const CXString& key, CXString& out);
    /// A property of the current model.
    /// @return whether it is not empty
    bool GetInfo(InfoType type, CXString& out);
    CXString GetModelName();
    /// The id that the model was found by, else its USB product id.
    CXString GetPrinterProductUniqueId();
    DataModelIds::tagControllerFamilyEnum GetControllerFamily();
    /// The property as a number; 0 when it is none.
    double GetPlatformVersion();
    /// Bits of SupportedPdl.
    DWORD GetSupportedPDLS();
    /// The property as a number of pages a minute; 0 when it is none.
    int GetRatedSpeed();
    DataModelIds::tagCompanyEnum GetCompanyName();
    /// The value of a property that is a path.
    /// @param isWholePath  resolve it inside the product data folder: below the folder of the model's family
    ///                     (FAMPATH) when it is there, else below the product data folder
    /// @return false when it is empty, leaves the folder, names a device, or is to be resolved without a
    /// folder;
    ///         `out` is empty then
    bool GetMapFilePathFromRegistry(const CXString& key, CXString& out, bool isWholePath);
    /// Reads a product file.
    /// @return false when it cannot be read or is larger than `largestFile`; `out` is empty then
    bool LoadFile(InfoType type, ByteBuffer& out);
    /// The name of the file in the product data folder that caches the data model of this printer and model.
    CXString GenerateDmCacheFileName();

    // Models

    /// Makes the first model of a USB product id, which is compared exactly, the current one.
    /// @return whether the current model is validated
    bool ValidateUsbProductId(const CXString& id);
    /// Makes the first model of a name the current one: of the map files in the product data folder, else of
    /// all others read for this printer, else of its driver data.
    /// @param model    receives the model's own name
    /// @param refresh  call UpdateCachedMapData before
    /// @return whether there is one; nothing changes otherwise
    bool ValidateModelInfo(CXString& model, bool refresh);
    /// Adds the names of all models that map files in this process have named.
    static void EnumerateInstalledDriverModels(std::set<CXString>& models);
    /// The names and properties of the current model.
    MappingData GetMapping();
    /// The models that the map files in the product data folder name, each once, in their order.
    std::vector<CXString> GetModels();

    // Map files

    /// Reads the properties of a printer's models again from its driver data; does nothing without one.
    void UpdateCachedMapData();
    /// Reads every file with ".map" in its name, in a folder and all below it, in the order of their names.
    /// What cannot be read is passed over.
    /// @throws ExceptionPrinterFailure when the driver data cannot be written
    void UpdateRegistryMappings(const CXString& folder);
    /// Reads a map file; what it said before is forgotten. What a printer keeps of a file outside of its
    /// product data folder counts as orphaned there (see DeleteOrphanedPerPrinterRegKeys).
    /// @throws ExceptionPrinterFailure when the driver data cannot be written
    void ParseMapFile(const CXString& path);
    /// Writes the current model's name to the printer's driver data; does nothing without one.
    /// @throws ExceptionPrinterFailure
    void UpdateRegistryWithProductDataValues();

    // Cabinets of product files. What is damaged or refused changes no file, and nothing outside of the
    // target folder is ever written; see CabinetUnpacker for the details and the exceptions, whose messages
    // name the cabinet.

    /// Unpacks a cabinet into a product data folder, which is created where it is missing.
    static void UnpackProductCabFile(const CXString& cabFile, const CXString& folder);
    /// Unpacks a cabinet of document type definitions into the folder "DTDs" of a product data folder.
    static void UnpackDtdCabFile(const CXString& cabFile, const CXString& folder);
    /// Unpacks a cabinet of Java archives into the folder "V5.0" of a product data folder.
    static void UnpackJarCabFile(const CXString& cabFile, const CXString& folder);
    /// Unpacks every cabinet that stands in a folder or below it, in the order of their names: DTD.cab and
    /// DTDs.cab as UnpackDtdCabFile does, JAR.cab and JARs.cab as UnpackJarCabFile does, every other file
    /// that ends in ".cab" as UnpackProductCabFile does, all without regard to case. Links are not followed.
    /// Nothing is unpacked when a folder cannot be read, lies more than 64 deep or, like a cabinet, has a
    /// name that is no text. Ends at the first cabinet that is refused; one that holds a file in the place of
    /// a cabinet that waits for its turn is.
    /// @param target  where the same folders are made for what is unpacked; empty for beside the cabinets
    /// @return the paths of the cabinets
    static std::vector<CXString> UnpackCabFilesInAllDirectoriesRecursively(const CXString& folder,
                                                                           const CXString& target = {});
    /// Whether every file of a cabinet stands in a product data folder with the size that the cabinet tells.
    /// @return false too when the cabinet cannot be read or is refused; throws nothing
    static bool HasProductCabBeenExtracted(const CXString& cabFile, const CXString& folder);

    // Maintenance. What installed printers use is told by their driver data: the folder that Initialize was
    // given ("ProductDataMappings") and the current model. These throw ExceptionPrinterFailure when that
    // cannot be read, and then delete nothing.

    /// A value that a printer's driver data keeps for a model.
    struct PerPrinterRegKey {
        CXString printer;
        CXString valueName;  ///< "PDMap-" and the model's name.
    };

    /// Adds the product data folder of every installed printer that has one.
    static void EnumerateProductDataFoldersUsedByInstalledDrivers(std::set<CXString>& folders);
    /// Deletes the folders that no installed printer uses, of those that the folder "Product Data" of a
    /// folder holds. One is in use when it is a printer's product data folder, lies in one or holds one.
    /// Links are deleted and not followed; what is a link itself in "Product Data" stays.
    /// @param dryRun  delete nothing
    /// @return the paths of the folders
    /// @throws ExceptionPrinterFailure too when a printer keeps models and does not tell from which folder,
    /// or when its folder cannot be found: the link that names it leads nowhere, the folder above it is gone
    /// or may not be read. A folder that is missing from the one above it is not in use, unless it is missing
    /// from "Product Data" or a folder in it: it may be one of those that are there under another name.
    /// @throws ExceptionOperatingSystemFailure when a folder cannot be listed or deleted, or something in it
    /// lies more than 64 deep; the others are gone
    static std::vector<CXString> DeleteOrphanedProductDataFolders(const CXString& folder, bool dryRun);
    /// Adds the values that the installed printers keep for models.
    static void EnumeratePerPrinterRegKeysForInstalledPrinters(std::vector<PerPrinterRegKey>& keys);
    /// Deletes those that are for no installed printer's current model and that no map file in the printer's
    /// own product data folder names. A printer without a current model may still choose any, so that all of
    /// its own stay; so do those of a printer whose folder is not known, or not there, or has a folder or map
    /// file that cannot be read.
    /// @param dryRun  delete nothing
    /// @return the values
    static std::vector<PerPrinterRegKey> DeleteOrphanedPerPrinterRegKeys(bool dryRun);

    // Commands

    /// Makes the command that chooses an option of a feature.
    /// @param out        receives the command's bytes; unchanged when there is none
    /// @param context    four LONGs for entities that need them: the page's origin, x and y, and the physical
    ///                   area, x and y, in device units; null writes nothing for those entities
    /// @param qualifier  what chooses among commands with qualifiers; those without suit every one
    /// @param reload     read the command file again even if it has been read
    /// @return whether there is a command
    bool GetPDLCommand(const CXString& feature, const CXString& option, PdlType type, ByteBuffer& out,
                       void* context, const CXString& qualifier, bool reload = false);
    /// The same, among the commands that have been read.
    bool FindPDLInstruction(const CXString& feature, const CXString& option, PdlType type,
                            const CXString& qualifier, ByteBuffer& out, void* context);
    /// Cuts the first feature set out of a text.
    /// @param text     receives what follows it
    /// @param feature  receives its text from `<FeatureSet>` up to `</FeatureSet>`
    /// @return false when there is none; nothing is changed then
    static bool GetPDLXMLFeature(CXString& text, CXString& feature);
    /// Cuts the first line off a text, without its line end.
    /// @return false when the text is empty; nothing is changed then
    static bool GetPDLLine(CXString& text, CXString& line);
    /// The language of a name in any case: "PCL", "PJL", "PCL5", "PCL6", "PS".
    static PdlType GetPDLType(const CXString& text);

    /// Appends the bytes of an instruction in AMP notation. Unknown entities are dropped, and an "&" without
    /// a ";" behind it drops the rest.
    /// @param context  as GetPDLCommand takes it
    /// @return true
    static bool ConvertAmpCommands(const CXString& instruction, ByteBuffer& out, void* context);
    /// Appends a text in the system's ANSI code page, without a terminator.
    static void OutputPDLCommand(ByteBuffer& out, const CXString& text);
    /// Appends the value of an entity as its type says; null appends nothing.
    /// @param context  as GetPDLCommand takes it; a number's type takes the number from its first word, which
    ///                 is 0 afterwards
    static void OutputAMPValue(ByteBuffer& out, const AMPCMD* entry, void* context);

private:
    std::unique_ptr<nvutil::ProductModel> m_model;
};
