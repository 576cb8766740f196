// libtiff over a stream.
#include "tifffile.h"

#include <cstdarg>
#include <cstdint>
#include <mutex>

namespace {

thread_local std::string fault;

// The first message tells most.
void onError(const char *module, const char *format, va_list values) {
    if (!fault.empty()) return;
    char text[300];
    std::vsnprintf(text, sizeof text, format, values);
    fault = (module && *module ? std::string(module) + ": " : "") + text;
}

std::FILE *streamOf(thandle_t handle) {
    return static_cast<std::FILE *>(handle);
}

tmsize_t onRead(thandle_t handle, void *to, tmsize_t count) {
    return static_cast<tmsize_t>(std::fread(to, 1, static_cast<std::size_t>(count), streamOf(handle)));
}

tmsize_t onWrite(thandle_t handle, void *from, tmsize_t count) {
    return static_cast<tmsize_t>(std::fwrite(from, 1, static_cast<std::size_t>(count), streamOf(handle)));
}

toff_t onSeek(thandle_t handle, toff_t offset, int whence) {
    if (fseeko(streamOf(handle), static_cast<off_t>(offset), whence) != 0) return static_cast<toff_t>(-1);
    return static_cast<toff_t>(ftello(streamOf(handle)));
}

int onClose(thandle_t) {
    return 0;
}

toff_t onSize(thandle_t handle) {
    const off_t before = ftello(streamOf(handle));
    fseeko(streamOf(handle), 0, SEEK_END);
    const off_t size = ftello(streamOf(handle));
    fseeko(streamOf(handle), before, SEEK_SET);
    return static_cast<toff_t>(size);
}

}  // namespace

TiffHandle::~TiffHandle() {
    if (tiff) TIFFClose(tiff);
}

void openTiff(TiffHandle *handle, std::FILE *stream, const std::string &name, const char *mode) {
    static std::once_flag once;
    std::call_once(once, [] {
        TIFFSetWarningHandler(nullptr);
        TIFFSetErrorHandler(onError);
    });
    handle->tiff =
        TIFFClientOpen(name.c_str(), mode, stream, onRead, onWrite, onSeek, onClose, onSize, nullptr, nullptr);
}

std::string tiffFault() {
    return fault;
}

void tiffClearFault() {
    fault.clear();
}
