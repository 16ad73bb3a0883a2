#include "tarnu/archive/OrvaZipResult.h"

#include "tarnu/archive/ZipResultInternal.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

thread_local OrvaZipResult lastResult = OrvaZipSuccess;

std::string_view MessageOf(UINT code) noexcept {
    switch (code) {
    case OrvaZipSuccess:
        return "Success";
    // One expects "Couldn't". Hosts compare the text as it has always been.
    case OrvaZipNoDuplicate:
        return "Culdn't duplicate handle";
    case OrvaZipNoFile:
        return "Couldn't create/open file";
    case OrvaZipNoMemory:
        return "Failed to allocate memory";
    case OrvaZipWriteFailed:
        return "Error writing to file";
    case OrvaZipNotFound:
        return "File not found in the zipfile";
    case OrvaZipMore:
        return "Still more data to unzip";
    case OrvaZipCorrupt:
        return "Zipfile is corrupt or not a zipfile";
    case OrvaZipReadFailed:
        return "Error reading file";
    case OrvaZipBadArguments:
        return "Caller: faulty arguments";
    case OrvaZipNotMemory:
        return "Caller: can only get memory of a memory zipfile";
    case OrvaZipMemoryFull:
        return "Caller: not enough space allocated for memory zipfile";
    case OrvaZipPreviousError:
        return "Caller: there was a previous error";
    case OrvaZipEnded:
        return "Caller: additions to the zip have already been ended";
    // One expects "Caller:" in this range. Hosts compare the text as it has always been.
    case OrvaZipWrongSize:
        return "Zip-bug: the anticipated size turned out wrong";
    case OrvaZipPartlyUnzipped:
        return "Caller: the file had already been partially unzipped";
    case OrvaZipMixedUse:
        return "Caller: mixing creation and opening of zip";
    case OrvaZipNotInitialized:
        return "Zip-bug: internal initialisation not completed";
    case OrvaZipNotSeekable:
        return "Zip-bug: trying to seek the unseekable";
    case OrvaZipNoChange:
        return "Zip-bug: tried to change mind, but not allowed";
    case OrvaZipFlateFailed:
        return "Zip-bug: an internal error during flation";
    default:
        return "unknown zip result code";
    }
}

} // namespace

namespace tarnu::support {

OrvaZipResult RecordZipResult(OrvaZipResult result) noexcept {
    lastResult = result;
    return result;
}

} // namespace tarnu::support

UINT OrvaFormatZipMessage(UINT code, char* buffer, UINT length) {
    const std::string_view message = MessageOf(code == OrvaZipRecent ? lastResult : code);
    if (buffer != nullptr && length > 0) {
        const std::size_t count = std::min<std::size_t>(length - 1, message.size());
        std::memcpy(buffer, message.data(), count);
        buffer[count] = '\0';
    }
    return static_cast<UINT>(message.size());
}
