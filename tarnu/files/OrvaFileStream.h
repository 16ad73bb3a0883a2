/// @file
/// OrvaFileStream: a forward-only COM stream over one file, opened either for reading or for writing.
#ifndef TARNU_FILES_ORVAFILESTREAM_H
#define TARNU_FILES_ORVAFILESTREAM_H

#include "tarnu/framework/framework.h"

#include <objidl.h>

/// A minimal IStream for consumers that read or write a file from its start to its end, such as an XML parser.
///
/// Threads: the reference count may be used from any thread; reads and writes of one stream must not overlap.
/// Ownership: created with new and a count of 1, which belongs to the creator; the last Release closes the file and
/// frees the object.
///
/// Positioning and management (Seek, SetSize, CopyTo, Commit, Revert, LockRegion, UnlockRegion, Stat, Clone) answer
/// E_FAIL, not E_NOTIMPL, and leave their out arguments untouched.
///
/// @code
/// OrvaFileStream* stream = new OrvaFileStream;
/// if (stream->Open(L"survey.xml", /*readMode=*/true)) persist->Load(stream);
/// stream->Release();
/// @endcode
class TARNU_API OrvaFileStream final : public IStream {
public:
    OrvaFileStream() noexcept = default;
    OrvaFileStream(const OrvaFileStream&) = delete;
    OrvaFileStream& operator=(const OrvaFileStream&) = delete;

    /// Opens a file; the direction holds until the next Open.
    ///
    /// The name goes through the ANSI code page and may take 99 bytes there. A character that the code page lacks
    /// becomes the system's default character, so the open fails or reaches another file. Reading needs an existing
    /// file, writing creates it or empties it; others may read it meanwhile. A file opened before is closed once the
    /// new one has been tried.
    /// @param name      file name; null counts as empty.
    /// @param readMode  true to read, false to write.
    /// @return whether the file is open. An empty name, or one that does not fit, is refused before any file is
    ///         touched.
    bool Open(const wchar_t* name, bool readMode) noexcept;

    // IUnknown

    /// Hands out IUnknown and IStream. Always S_OK: for any other interface the pointer that the caller left in
    /// @p object is the one that gets the reference, so ask for these two only.
    /// @param interfaceId IID_IUnknown or IID_IStream
    /// @param object receives the interface, counted
    /// @return S_OK
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID interfaceId, void** object) noexcept override;
    /// Adds a reference. @return the new count
    ULONG STDMETHODCALLTYPE AddRef() noexcept override;
    /// Gives a reference back; the last one ends the object. @return the new count
    ULONG STDMETHODCALLTYPE Release() noexcept override;

    // ISequentialStream

    /// Reads up to @p size bytes.
    /// @param buffer     receives the bytes
    /// @param size       bytes that the buffer holds
    /// @param bytesRead  receives the bytes read, also after a failed read; may be null. Untouched when the stream was
    ///                   opened for writing.
    /// @return S_OK with at least one byte, S_FALSE with none (the end), E_FAIL for an error or a stream for writing.
    HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG size, ULONG* bytesRead) noexcept override;
    /// Writes @p size bytes.
    /// @param buffer        the bytes
    /// @param size          number of them
    /// @param bytesWritten  receives the bytes written; must not be null. Untouched when the stream was opened for
    ///                      reading.
    /// @return S_OK, or E_FAIL for an error or a stream for reading.
    HRESULT STDMETHODCALLTYPE Write(const void* buffer, ULONG size, ULONG* bytesWritten) noexcept override;

    // IStream: all E_FAIL, whatever the arguments

    /// Not supported.
    /// @param move,origin  not looked at
    /// @param position     untouched; may be null
    /// @return E_FAIL
    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) noexcept override;
    /// Not supported. @param size not looked at @return E_FAIL
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) noexcept override;
    /// Not supported.
    /// @param target,size             not looked at; nothing is written
    /// @param bytesRead,bytesWritten  untouched; may be null
    /// @return E_FAIL
    HRESULT STDMETHODCALLTYPE CopyTo(IStream* target, ULARGE_INTEGER size, ULARGE_INTEGER* bytesRead,
                                     ULARGE_INTEGER* bytesWritten) noexcept override;
    /// Not supported; what is written goes to the file at once. @param flags not looked at @return E_FAIL
    HRESULT STDMETHODCALLTYPE Commit(DWORD flags) noexcept override;
    /// Not supported. @return E_FAIL
    HRESULT STDMETHODCALLTYPE Revert() noexcept override;
    /// @{
    /// Not supported. @param offset,size,type not looked at @return E_FAIL
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) noexcept override;
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) noexcept override;
    /// @}
    /// Not supported. @param statistics untouched @param flags not looked at @return E_FAIL
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* statistics, DWORD flags) noexcept override;
    /// Not supported. @param copy untouched: not even set to null @return E_FAIL
    HRESULT STDMETHODCALLTYPE Clone(IStream** copy) noexcept override;

private:
    ~OrvaFileStream(); // Release is the only way to it

    HANDLE m_handle = nullptr; ///< null until the first Open, INVALID_HANDLE_VALUE after one that failed
    bool m_readMode = true;
    ULONG m_referenceCount = 1;
};

#endif // TARNU_FILES_ORVAFILESTREAM_H
