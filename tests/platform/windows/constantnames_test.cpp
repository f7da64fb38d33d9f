// The names of the platform's constants, held against its own headers.
#include <gtest/gtest.h>
#include <windows.h>

#include <winddiui.h>  // which needs the former

#include "support/narrow.h"
#include "utilities/utilitiesdll/norvautilities.h"

namespace {

using namespace NorvaUtilities;

#define EXPECT_NAMED(Function, constant) EXPECT_EQ(Narrow(Function(constant)), #constant)

TEST(ConstantNames, AreThoseOfTheHeaders) {
    EXPECT_NAMED(DeviceCapabilitiesString, DC_FIELDS);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_PAPERS);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_PAPERSIZE);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_MINEXTENT);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_MAXEXTENT);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_BINS);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_DUPLEX);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_SIZE);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_EXTRA);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_VERSION);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_DRIVER);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_BINNAMES);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_ENUMRESOLUTIONS);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_FILEDEPENDENCIES);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_TRUETYPE);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_PAPERNAMES);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_ORIENTATION);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_COPIES);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_BINADJUST);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_EMF_COMPLIANT);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_DATATYPE_PRODUCED);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_COLLATE);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_MANUFACTURER);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_MODEL);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_PERSONALITY);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_PRINTRATE);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_PRINTRATEUNIT);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_PRINTERMEM);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_MEDIAREADY);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_STAPLE);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_PRINTRATEPPM);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_COLORDEVICE);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_NUP);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_MEDIATYPENAMES);
    EXPECT_NAMED(DeviceCapabilitiesString, DC_MEDIATYPES);
    EXPECT_NAMED(DocumentEventString, DOCUMENTEVENT_CREATEDCPRE);
    EXPECT_NAMED(DocumentEventString, DOCUMENTEVENT_CREATEDCPOST);
    EXPECT_NAMED(DocumentEventString, DOCUMENTEVENT_RESETDCPRE);
    EXPECT_NAMED(DocumentEventString, DOCUMENTEVENT_RESETDCPOST);
    EXPECT_NAMED(DocumentEventString, DOCUMENTEVENT_STARTDOCPRE);
    EXPECT_NAMED(DocumentEventString, DOCUMENTEVENT_STARTPAGE);
    EXPECT_NAMED(DocumentEventString, DOCUMENTEVENT_ENDPAGE);
    EXPECT_NAMED(DocumentEventString, DOCUMENTEVENT_ENDDOCPRE);
    EXPECT_NAMED(DocumentEventString, DOCUMENTEVENT_ABORTDOC);
    EXPECT_NAMED(DocumentEventString, DOCUMENTEVENT_DELETEDC);
    EXPECT_NAMED(DocumentEventString, DOCUMENTEVENT_ESCAPE);
    EXPECT_NAMED(DocumentEventString, DOCUMENTEVENT_ENDDOCPOST);
    EXPECT_NAMED(DocumentEventString, DOCUMENTEVENT_STARTDOCPOST);
    EXPECT_NAMED(DocumentEventString, DOCUMENTEVENT_QUERYFILTER);
    EXPECT_NAMED(XpsDocumentEventString, DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTSEQUENCEPRE);
    EXPECT_NAMED(XpsDocumentEventString, DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTPRE);
    EXPECT_NAMED(XpsDocumentEventString, DOCUMENTEVENT_XPS_ADDFIXEDPAGEEPRE);
    EXPECT_NAMED(XpsDocumentEventString, DOCUMENTEVENT_XPS_ADDFIXEDPAGEPOST);
    EXPECT_NAMED(XpsDocumentEventString, DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTPOST);
    EXPECT_NAMED(XpsDocumentEventString, DOCUMENTEVENT_XPS_CANCELJOB);
    EXPECT_NAMED(XpsDocumentEventString, DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTSEQUENCEPRINTTICKETPRE);
    EXPECT_NAMED(XpsDocumentEventString, DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTPRINTTICKETPRE);
    EXPECT_NAMED(XpsDocumentEventString, DOCUMENTEVENT_XPS_ADDFIXEDPAGEPRINTTICKETPRE);
    EXPECT_NAMED(XpsDocumentEventString, DOCUMENTEVENT_XPS_ADDFIXEDPAGEPRINTTICKETPOST);
    EXPECT_NAMED(XpsDocumentEventString, DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTPRINTTICKETPOST);
    EXPECT_NAMED(XpsDocumentEventString, DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTSEQUENCEPRINTTICKETPOST);
    EXPECT_NAMED(XpsDocumentEventString, DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTSEQUENCEPOST);
    EXPECT_NAMED(XpsDocumentEventString, DOCUMENTEVENT_QUERYFILTER);
    EXPECT_NAMED(DevmodeDmFieldString, DM_ORIENTATION);
    EXPECT_NAMED(DevmodeDmFieldString, DM_PAPERSIZE);
    EXPECT_NAMED(DevmodeDmFieldString, DM_PAPERLENGTH);
    EXPECT_NAMED(DevmodeDmFieldString, DM_PAPERWIDTH);
    EXPECT_NAMED(DevmodeDmFieldString, DM_SCALE);
    EXPECT_NAMED(DevmodeDmFieldString, DM_POSITION);
    EXPECT_NAMED(DevmodeDmFieldString, DM_NUP);
    EXPECT_NAMED(DevmodeDmFieldString, DM_DISPLAYORIENTATION);
    EXPECT_NAMED(DevmodeDmFieldString, DM_COPIES);
    EXPECT_NAMED(DevmodeDmFieldString, DM_DEFAULTSOURCE);
    EXPECT_NAMED(DevmodeDmFieldString, DM_PRINTQUALITY);
    EXPECT_NAMED(DevmodeDmFieldString, DM_COLOR);
    EXPECT_NAMED(DevmodeDmFieldString, DM_DUPLEX);
    EXPECT_NAMED(DevmodeDmFieldString, DM_YRESOLUTION);
    EXPECT_NAMED(DevmodeDmFieldString, DM_TTOPTION);
    EXPECT_NAMED(DevmodeDmFieldString, DM_COLLATE);
    EXPECT_NAMED(DevmodeDmFieldString, DM_FORMNAME);
    EXPECT_NAMED(DevmodeDmFieldString, DM_LOGPIXELS);
    EXPECT_NAMED(DevmodeDmFieldString, DM_BITSPERPEL);
    EXPECT_NAMED(DevmodeDmFieldString, DM_PELSWIDTH);
    EXPECT_NAMED(DevmodeDmFieldString, DM_PELSHEIGHT);
    EXPECT_NAMED(DevmodeDmFieldString, DM_DISPLAYFLAGS);
    EXPECT_NAMED(DevmodeDmFieldString, DM_DISPLAYFREQUENCY);
    EXPECT_NAMED(DevmodeDmFieldString, DM_ICMMETHOD);
    EXPECT_NAMED(DevmodeDmFieldString, DM_ICMINTENT);
    EXPECT_NAMED(DevmodeDmFieldString, DM_MEDIATYPE);
    EXPECT_NAMED(DevmodeDmFieldString, DM_DITHERTYPE);
    EXPECT_NAMED(DevmodeDmFieldString, DM_PANNINGWIDTH);
    EXPECT_NAMED(DevmodeDmFieldString, DM_PANNINGHEIGHT);
    EXPECT_NAMED(DevmodeDmFieldString, DM_DISPLAYFIXEDOUTPUT);
    EXPECT_NAMED(DevmodeModeString, DM_UPDATE);
    EXPECT_NAMED(DevmodeModeString, DM_OUT_BUFFER);
    EXPECT_NAMED(DevmodeModeString, DM_IN_PROMPT);
    EXPECT_NAMED(DevmodeModeString, DM_IN_BUFFER);
    EXPECT_NAMED(HkeyString, HKEY_CLASSES_ROOT);
    EXPECT_NAMED(HkeyString, HKEY_CURRENT_USER);
    EXPECT_NAMED(HkeyString, HKEY_LOCAL_MACHINE);
    EXPECT_NAMED(HkeyString, HKEY_USERS);
    EXPECT_NAMED(HkeyString, HKEY_PERFORMANCE_DATA);
    EXPECT_NAMED(HkeyString, HKEY_CURRENT_CONFIG);
    EXPECT_NAMED(HkeyString, HKEY_DYN_DATA);
    EXPECT_NAMED(HkeyString, HKEY_CURRENT_USER_LOCAL_SETTINGS);
    EXPECT_NAMED(HkeyString, HKEY_PERFORMANCE_TEXT);
    EXPECT_NAMED(HkeyString, HKEY_PERFORMANCE_NLSTEXT);
}

}  // namespace
