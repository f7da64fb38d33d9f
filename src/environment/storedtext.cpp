// Text values in a printer's driver data.
#include "environment/storedtext.h"

#include "environment/textview.h"
#include "utilities/debuggingandexceptions/norvaexception.h"

namespace storedtext {

CXString Read(const Printer& printer, const CXString& valueName) {
    DWORD type = 0;
    ByteBuffer data;
    try {
        if (!printer.GetPrinterDataW(valueName, type, data) || type != Printer::typeString) return {};
    } catch (const NorvaException&) {
        return {};  // look-ups know nothing but absence
    }
    const CXString text = data.getAsStringValue();
    return StringOf(ViewOf(text).substr(0, ViewOf(text).find(WChar{0})));
}

void Write(Printer& printer, const CXString& valueName, const CXString& text) {
    printer.SetPrinterDataExW(Printer::driverDataKey, valueName, Printer::typeString,
                              ByteBuffer(text).appendNullChar());
}

}  // namespace storedtext
