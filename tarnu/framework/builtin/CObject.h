/// @file
/// CObject and its run-time class information.
#ifndef TARNU_FRAMEWORK_BUILTIN_COBJECT_H
#define TARNU_FRAMEWORK_BUILTIN_COBJECT_H

#include "tarnu/framework/builtin/Windows.h"

class CArchive;
class CDumpContext;
class CObject;

/// Run-time information about one CObject class: its name, its size in bytes and its base class.
/// One constant instance exists per class; DECLARE_DYNAMIC and IMPLEMENT_DYNAMIC make it.
struct CRuntimeClass {
    const char* m_lpszClassName;       ///< as written in the source
    int m_nObjectSize;                 ///< in bytes
    const CRuntimeClass* m_pBaseClass; ///< null for CObject

    /// Whether this class is another one or derives from it.
    /// @param base the other one; null gives FALSE
    /// @return TRUE or FALSE
    BOOL IsDerivedFrom(const CRuntimeClass* base) const noexcept {
        for (const CRuntimeClass* current = this; current != nullptr; current = current->m_pBaseClass) {
            if (current == base) return TRUE;
        }
        return FALSE;
    }
};

/// Base of the framework's polymorphic classes. Not copyable; derived classes that are values say so themselves.
class TARNU_API CObject {
public:
    static const CRuntimeClass classCObject; ///< the run-time class

    /// The run-time class of the object.
    /// @return a constant for all objects of the class; not to be written to
    virtual CRuntimeClass* GetRuntimeClass() const;
    virtual ~CObject();
    /// Does nothing: archives are not part of this subset.
    /// @param archive not looked at
    virtual void Serialize(CArchive& archive);
    /// Does nothing: nor are the framework's debugging aids.
    virtual void AssertValid() const;
    /// Does nothing.
    /// @param context not looked at
    virtual void Dump(CDumpContext& context) const;

    CObject(const CObject&) = delete;
    CObject& operator=(const CObject&) = delete;

    /// Whether the object's class is another one or derives from it.
    /// @param base the other one, as RUNTIME_CLASS gives it; null gives FALSE
    /// @return TRUE or FALSE
    BOOL IsKindOf(const CRuntimeClass* base) const { return GetRuntimeClass()->IsDerivedFrom(base); }

protected:
    CObject() noexcept = default;
};

/// The CRuntimeClass of a class that uses DECLARE_DYNAMIC.
#define RUNTIME_CLASS(className) (const_cast<CRuntimeClass*>(&className::class##className))

/// In the public part of a class: declares its run-time class information.
#define DECLARE_DYNAMIC(className)                                                                                     \
public:                                                                                                                \
    static const CRuntimeClass class##className;                                                                       \
    CRuntimeClass* GetRuntimeClass() const override;

/// In one source file: defines what DECLARE_DYNAMIC declared.
#define IMPLEMENT_DYNAMIC(className, baseClassName)                                                                    \
    const CRuntimeClass className::class##className = {#className, static_cast<int>(sizeof(className)),                \
                                                       &baseClassName::class##baseClassName};                          \
    CRuntimeClass* className::GetRuntimeClass() const {                                                                \
        return RUNTIME_CLASS(className);                                                                               \
    }

#endif // TARNU_FRAMEWORK_BUILTIN_COBJECT_H
