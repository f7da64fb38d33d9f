// TestPrinter: a printer that exists for a test.
#pragma once

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

private:
    CXString m_name;
};
