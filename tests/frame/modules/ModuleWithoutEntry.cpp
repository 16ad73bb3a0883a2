/// @file
/// A host module that lacks the entry; it exports a name that differs in case.
extern "C" __declspec(dllexport) int ORVADLLMESSAGEBOX() {
    return 99;
}
