// MappingData: what product data says about one printer model.
#include "environment/mappingdata.h"

#include <algorithm>
#include <utility>

#include "environment/storedtext.h"
#include "environment/textview.h"

const WChar* const MappingData::valueNamePrefix = NV_TEXT("PDMap-");
const WChar* const MappingData::usbProductIdKey = NV_TEXT("USB_PRODUCT_ID");
const WChar* const MappingData::sysObjectIdKey = NV_TEXT("SYS_OBJECT_ID");

MappingData::MappingData(const CXString& model, const CXString& data, std::vector<CXString> names)
    : m_model(model), m_names(std::move(names)), m_data(data) {}

CXString MappingData::GetData(const CXString& key) const {
    const TextView data = ViewOf(m_data);
    const std::size_t found = data.find(ViewOf(key));
    if (found == TextView::npos) return {};
    const std::size_t equals = data.find(WChar{'='}, found + ViewOf(key).size());
    if (equals == TextView::npos) return {};
    const TextView value = data.substr(equals + 1);
    return StringOf(value.substr(0, value.find(WChar{';'})));
}

CXString MappingData::GetData(const CXString& key, Printer& printer) {
    if (m_data.IsBlank()) m_data = storedtext::Read(printer, valueNamePrefix + m_model);
    for (std::size_t i = 0; i < m_names.size() && m_data.IsBlank(); ++i)
        m_data = storedtext::Read(printer, valueNamePrefix + m_names[i]);
    return GetData(key);
}

bool MappingData::MatchesModel(const CXString& name) const {
    return m_model == name || std::find(m_names.begin(), m_names.end(), name) != m_names.end();
}

bool MappingData::MatchesSysObjectId(const CXString& id) const {
    return !id.IsEmpty() && GetData(sysObjectIdKey) == id;
}

void MappingData::Clear() {
    *this = MappingData();
}
