/// @file
/// An entry under a temporary name that takes the place of another one when it is complete.
#ifndef TARNU_FILES_REPLACEMENTINTERNAL_H
#define TARNU_FILES_REPLACEMENTINTERNAL_H

#include "tarnu/framework/framework.h"

#include <string>
#include <utility>

namespace tarnu::support {

/// A file or link beside its target, of a name that nothing had, that is deleted again unless it takes the target's
/// place. So the old target stays until the new one is whole.
class Replacement {
public:
    /// @param target absolute path
    explicit Replacement(std::wstring target) : m_target(std::move(target)) {}
    ~Replacement();
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    /// Calls @p create with one name after another until it makes something new.
    /// @param create takes a path, returns a boolean; ERROR_FILE_EXISTS or ERROR_ALREADY_EXISTS asks for another name
    /// @return false, with the last error set, when it failed
    template <class Create>
    bool Make(Create create) {
        constexpr int attempts = 256;
        for (int attempt = 0; attempt < attempts; ++attempt) {
            std::wstring path = NewName();
            if (create(path.c_str())) {
                m_path = std::move(path);
                return true;
            }
            const DWORD error = ::GetLastError();
            if (error != ERROR_FILE_EXISTS && error != ERROR_ALREADY_EXISTS) return false;
        }
        return false;
    }

    /// Renames what was made to the target's name; an existing file of that name is replaced. All handles to both must
    /// be closed.
    /// @param throughCache true: the system writes the change to the disk in its own time; false: it has when this
    ///        returns
    /// @return false, with the last error set, when it failed
    bool TakePlace(bool throughCache) noexcept;

private:
    std::wstring NewName() const;

    std::wstring m_target;
    std::wstring m_path; ///< empty while there is nothing to delete
};

} // namespace tarnu::support

#endif // TARNU_FILES_REPLACEMENTINTERNAL_H
