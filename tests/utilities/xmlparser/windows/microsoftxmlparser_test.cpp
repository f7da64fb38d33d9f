// What is the platform's own of the XML layer: apartments and error objects.
#include <comdef.h>
#include <gtest/gtest.h>

#include <thread>

#include "utilities/xmlparser/microsoftcomlibrary.h"
#include "utilities/xmlparser/xmldocuments.h"

namespace {

/// What a fresh thread, on which a function has run, says to the wish for an apartment of its own.
template <class Function>
HRESULT ApartmentAfter(Function function) {
    HRESULT result = E_FAIL;
    std::thread([&] {
        function();
        result = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        if (SUCCEEDED(result)) CoUninitialize();
    }).join();
    return result;
}

TEST(MicrosoftComLibrary, BalancesWhatItInitialised) {
    EXPECT_EQ(ApartmentAfter([] { const MicrosoftComLibrary library; }), S_OK);
    EXPECT_EQ(ApartmentAfter([] {
                  const MicrosoftComLibrary outer;
                  { const MicrosoftComLibrary inner; }
                  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), RPC_E_CHANGED_MODE);
              }),
              S_OK);
}

TEST(MicrosoftComLibrary, LeavesAnotherApartmentAlone) {
    EXPECT_EQ(ApartmentAfter([] {
                  ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
                  EXPECT_EQ(xmltest::Show("<r><a/></r>"), "r[a[]]");
                  // Still initialised, and twice: this thread's own, and the one that asks here.
                  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE);
                  CoUninitialize();
              }),
              S_FALSE);
}

TEST(MicrosoftXmlParser, ShowsWhatAnErrorObjectTells) {
    ICreateErrorInfo* information = nullptr;
    ASSERT_EQ(CreateErrorInfo(&information), S_OK);
    wchar_t source[] = L"engine";
    wchar_t description[] = L"no ink";
    information->SetSource(source);
    information->SetDescription(description);
    IErrorInfo* told = nullptr;
    ASSERT_EQ(information->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&told)), S_OK);
    information->Release();
    const _com_error error(E_FAIL, told);  // takes the reference
    const std::string text = Narrow(MicrosoftXmlParser::formatCOMExceptionDisplayString(error));
    EXPECT_NE(text.find("Code=0x80004005. "), std::string::npos) << text;
    EXPECT_NE(text.find("Source='engine'. Description='no ink'"), std::string::npos) << text;
}

TEST(MicrosoftDomDocument, HasNoTextForAMissingParseError) {
    EXPECT_THROW(MicrosoftDomDocument::formatParseErrorDisplayString({}), _com_error);
}

}  // namespace
