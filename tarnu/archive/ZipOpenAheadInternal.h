/// @file
/// Files that are opened before their turn.
#ifndef TARNU_ARCHIVE_ZIPOPENAHEADINTERNAL_H
#define TARNU_ARCHIVE_ZIPOPENAHEADINTERNAL_H

#include "tarnu/framework/framework.h"
#include "tarnu/support/Owners.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <string>

namespace tarnu::support {

/// Opens a file or directory to be packed. With backup semantics the same call opens directories, which so get their
/// times, too.
UniqueFileHandle OpenToRead(const std::wstring& path) noexcept;

/// Opens the files of a list a few places ahead of who reads them, on a thread of its own, and closes them again. To
/// open and to close is most of what a small file costs: the system asks a server, a scanner for viruses, another
/// machine.
///
/// Everything is read at its turn, on the thread that asks for it. A file that could not be opened ahead, for whatever
/// reason, is left to that thread, and so is every file when there is no thread to be had.
class OpenAhead {
public:
    /// @param files  their paths; must stay as they are while this object lives
    explicit OpenAhead(const CStringList& files) noexcept;
    /// Waits until the thread has ended.
    ~OpenAhead();
    OpenAhead(const OpenAhead&) = delete;
    OpenAhead& operator=(const OpenAhead&) = delete;

    /// Goes on to the next file of the list, which has one; the one before is closed.
    /// @return the open file, valid until the next call; an empty owner when the caller has to open it
    const UniqueFileHandle& Next() noexcept;

private:
    static constexpr std::size_t distance = 16;

    struct Slot {
        UniqueFileHandle file;
        std::atomic<bool> isReady = false; ///< the opening was tried, and the file is the reader's
    };

    static DWORD WINAPI ThreadProcedure(void* openAhead) noexcept;
    void Work() noexcept;
    bool SpinUntilReady(const Slot& slot) const noexcept;

    SRWLOCK m_lock = SRWLOCK_INIT;
    CONDITION_VARIABLE m_opened = CONDITION_VARIABLE_INIT;
    CONDITION_VARIABLE m_freed = CONDITION_VARIABLE_INIT;
    const CStringList& m_files;
    POSITION m_position;     ///< of the first file that is nobody's
    std::size_t m_begun = 0; ///< files before it
    std::size_t m_asked = 0; ///< files that Next was asked for; the last one of them is being read
    std::array<Slot, distance> m_slots;
    LARGE_INTEGER m_frequency{}; ///< of the performance counter
    UniqueHandle m_thread;
    const UniqueFileHandle m_none;
};

} // namespace tarnu::support

#endif // TARNU_ARCHIVE_ZIPOPENAHEADINTERNAL_H
