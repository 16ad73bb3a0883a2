/// @file
/// CStringList: the framework's list of strings.
#ifndef TARNU_FRAMEWORK_BUILTIN_CSTRINGLIST_H
#define TARNU_FRAMEWORK_BUILTIN_CSTRINGLIST_H

#include "tarnu/framework/builtin/CList.h"
#include "tarnu/framework/builtin/CString.h"

/// A list of CString; every operation of CList, and elements given as plain texts.
class TARNU_API CStringList : public CList<CString, const CString&> {
public:
    /// An empty list.
    /// @param blockSize nodes that are allocated at a time; less than 1 counts as 1
    explicit CStringList(INT_PTR blockSize = 10) noexcept : CList(blockSize) {}

    static const CRuntimeClass classCStringList; ///< the run-time class
    /// @copydoc CObject::GetRuntimeClass
    CRuntimeClass* GetRuntimeClass() const override;
};

#endif // TARNU_FRAMEWORK_BUILTIN_CSTRINGLIST_H
