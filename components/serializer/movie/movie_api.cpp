// The movie library's one exported function and the operations behind it.
#include "compressors.h"
#include "movie_functions.h"
#include "open_recorders.h"
#include "recorder.h"
#include "zel_export.h"

#include <memory>
#include <new>
#include <string>

extern "C" {
#include <libavutil/log.h>
}

namespace movie
{

namespace
{

// Exceptions end here: the caller of a recorder is another library.
template <typename Operation> ZelCamErr guarded(Operation operation)
{
    try {
        return operation();
    } catch (const std::bad_alloc&) {
        return ZelErr::kGenTLOutOfMemory;
    } catch (...) {
        return ZelErr::kUnknown;
    }
}

const char* compressors()
{
    static const std::string list = compressorList();
    return list.c_str();
}

ZelCamErr start(const Settings* settings, const serializer::Picture* first, Recorder** recorder)
{
    return guarded([&] {
        auto started = std::make_unique<Recorder>();
        const ZelCamErr code = started->start(*settings, *first);
        if (code == ZelErr::kOk) {
            addOpenRecorder(started.get());
            *recorder = started.release();
        }
        return code;
    });
}

ZelCamErr append(Recorder* recorder, const serializer::Picture* picture)
{
    if (recorder->isInherited()) {
        return ZelErr::kInvalidState;
    }
    return guarded([&] { return recorder->append(*picture); });
}

ZelCamErr finish(Recorder* recorder)
{
    if (recorder->isInherited()) {
        return ZelErr::kInvalidState; // Left to the parent: it cannot even be freed here.
    }
    return guarded([&] {
        removeOpenRecorder(recorder);
        const std::unique_ptr<Recorder> owner(recorder);
        return owner->finish();
    });
}

constexpr Functions kFunctions = {compressors, start, append, finish};

} // namespace

} // namespace movie

extern "C" ZEL_API const movie::Functions* ZelMovie_GetFunctions()
{
    // Errors are codes here; libav would print to standard error.
    av_log_set_level(AV_LOG_QUIET);
    return &movie::kFunctions;
}
