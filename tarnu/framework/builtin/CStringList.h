/// @file
/// CStringList: the framework's list of strings.
#ifndef TARNU_FRAMEWORK_BUILTIN_CSTRINGLIST_H
#define TARNU_FRAMEWORK_BUILTIN_CSTRINGLIST_H

#include "tarnu/framework/builtin/CList.h"
#include "tarnu/framework/builtin/CString.h"

/// A list of CString; every operation of CList, and elements given as plain texts.
class TARNU_API CStringList : public CList<CString, const CString&> {
public:
    /// An empty list whose nodes are allocated in blocks.
    explicit CStringList(INT_PTR blockSize = 10) noexcept : CList(blockSize) {}

    static const CRuntimeClass classCStringList; ///< the run-time class
    /// The run-time class of the object.
    CRuntimeClass* GetRuntimeClass() const override;
};

#endif // TARNU_FRAMEWORK_BUILTIN_CSTRINGLIST_H
