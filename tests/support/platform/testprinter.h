// TestPrinter: a printer that exists for a test.
#pragma once

#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"

/// A printer of a name that no other has, without settings. It is removed at the end, with all its values.
///
/// On Windows it is installed with a driver of its own; elsewhere it stands in a store of the test program's
/// own, which NVUTIL_PRINTER_STORE names from then on.
class TestPrinter {
public:
    TestPrinter();
    TestPrinter(const TestPrinter&) = delete;
    TestPrinter& operator=(const TestPrinter&) = delete;
    ~TestPrinter();

    const CXString& GetName() const { return m_name; }
    /// The bytes of a value of the key "PrinterDriverData", asked of the platform and not of the library: of
    /// the spooler's GetPrinterDataW, or of the database. Empty when it is absent.
    ByteBuffer ReadDirectly(const CXString& valueName) const;

private:
    CXString m_name;
};
