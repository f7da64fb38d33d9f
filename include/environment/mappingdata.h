// MappingData: what product data says about one printer model.
#pragma once

#include <vector>

#include "environment/printer.h"
#include "utilities/utilitiesdll/cxstring.h"

/// The names of a model and its properties as one text, "COLORCAPABLE=1;RATEDSPEED=45;". Without a text it
/// reads the one that is kept in a printer's driver data. Used by one thread at a time.
class NVUTIL_API MappingData {
public:
    /// What stands before a model's name in the name of its value in the driver data: "PDMap-".
    static const WChar* const valueNamePrefix;
    /// The property that holds a model's USB product id: "USB_PRODUCT_ID".
    static const WChar* const usbProductIdKey;
    /// The property that holds a model's SNMP object identifier: "SYS_OBJECT_ID".
    static const WChar* const sysObjectIdKey;

    /// A model without a name or properties.
    MappingData() = default;
    /// @param data   the properties; blank to have them read from the driver data
    /// @param names  further names of the model
    explicit MappingData(const CXString& model, const CXString& data = {}, std::vector<CXString> names = {});

    /// The value of a property; empty when there is none. Throws nothing.
    ///
    /// Deliberately a plain search: the first place where the text of the key occurs, even inside another key
    /// or a value, decides; the value lies between the next "=" and the ";" behind it.
    CXString GetData(const CXString& key) const;
    /// The same; reads the properties from the printer's driver data before, when they are blank: from the
    /// value of the model's name, else from that of the first further name that has one.
    CXString GetData(const CXString& key, Printer& printer);
    /// All properties, as far as they are known here.
    const CXString& GetAllData() const { return m_data; }

    const CXString& GetModel() const { return m_model; }
    /// Whether this is one of the model's names. Case matters.
    bool MatchesModel(const CXString& name) const;
    /// Whether this is the model's SNMP object identifier; the empty one is nobody's. Case matters.
    bool MatchesSysObjectId(const CXString& id) const;
    /// Forgets the names and the properties.
    void Clear();

private:
    CXString m_model;
    std::vector<CXString> m_names;
    CXString m_data;
};
