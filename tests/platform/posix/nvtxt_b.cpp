// A translation of some texts, as the module that stands beside the library.
extern "C" [[gnu::visibility("default")]] const char16_t* nvtxt_b_text(unsigned id) {
    switch (id) {
        case 34606:
            return u",";
        case 34607:
            return u".";
        case 35003:
            return u"D\u00FCrfte nicht sein";
        case 40001:
            return u"only in the module";
        default:
            return nullptr;
    }
}
