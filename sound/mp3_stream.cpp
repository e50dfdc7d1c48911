#include "mp3_stream.h"

#include <fcntl.h>
#include <mpg123.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <utility>

namespace {

// Frames that are decoded and dropped before the target of a seek. A layer III frame may keep its data in frames
// before it, up to 511 bytes back in MPEG-1 and 255 at lower rates. The smallest stereo frames have room for 60 and 3
// of these bytes. One more frame fills the filters' memory. (With the library's default, 4, the start after a seek is
// disturbed.)
constexpr long PREROLL_MPEG1 = 10;
constexpr long PREROLL_LOW_RATE = 86;
constexpr long JUNK_LIMIT_BYTES = 65536;
constexpr long INDEX_GROWTH = -1024;  // negative: as many entries as there are frames, in steps of this
constexpr int IDLE_READS_LIMIT = 16;  // reads in a row that decode nothing and report no end

struct CloseDecoder {
    void operator()(mpg123_handle* decoder) const { mpg123_delete(decoder); }
};
using Decoder = std::unique_ptr<mpg123_handle, CloseDecoder>;

struct File {
    int descriptor = -1;
    File() = default;
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() {
        if (descriptor >= 0) close(descriptor);
    }
};

Mp3Open openFile(const char* path, File& file) {
    // O_NONBLOCK: a pipe that nobody writes to must not hang the program.
    file.descriptor = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file.descriptor < 0) return errno == ENOENT || errno == ENOTDIR ? Mp3Open::notFound : Mp3Open::unreadable;
    struct stat status = {};
    const bool regular = fstat(file.descriptor, &status) == 0 && S_ISREG(status.st_mode);
    char first = 0;
    const bool readable = regular && pread(file.descriptor, &first, 1, 0) >= 0;
    return readable ? Mp3Open::ok : Mp3Open::unreadable;
}

Decoder makeDecoder() {
    mpg123_init();  // versions before 1.27 need it
    Decoder decoder(mpg123_new(nullptr, nullptr));
    if (!decoder) return decoder;
    mpg123_param(decoder.get(), MPG123_ADD_FLAGS, MPG123_QUIET | MPG123_GAPLESS | MPG123_SKIP_ID3V2, 0);
    mpg123_param(decoder.get(), MPG123_RESYNC_LIMIT, JUNK_LIMIT_BYTES, 0);
    mpg123_param(decoder.get(), MPG123_INDEX_SIZE, INDEX_GROWTH, 0);
    return decoder;
}

// Makes the first frame's format, in 16 bits, the only one.
bool fixFormat(mpg123_handle* decoder, Mp3Stream& stream) {
    long rate = 0;
    int channels = 0;
    int encoding = 0;
    if (mpg123_getformat(decoder, &rate, &channels, &encoding) != MPG123_OK) return false;
    stream.rate = static_cast<int>(rate);
    stream.channels = channels;
    const int layout = channels == 1 ? MPG123_MONO : MPG123_STEREO;
    return mpg123_format_none(decoder) == MPG123_OK &&
           mpg123_format(decoder, rate, layout, MPG123_ENC_SIGNED_16) == MPG123_OK;
}

void setPreroll(mpg123_handle* decoder) {
    mpg123_frameinfo first = {};
    const bool mpeg1 = mpg123_info(decoder, &first) == MPG123_OK && first.version == MPG123_1_0;
    mpg123_param(decoder, MPG123_PREFRAMES, mpeg1 ? PREROLL_MPEG1 : PREROLL_LOW_RATE, 0);
}

// Why the decoder finds no stream.
Mp3Open failureOf(mpg123_handle* decoder) {
    return mpg123_errcode(decoder) == MPG123_OUT_OF_MEM ? Mp3Open::noDecoder : Mp3Open::notMp3;
}

bool measure(mpg123_handle* decoder, Mp3Stream& stream) {
    if (mpg123_scan(decoder) != MPG123_OK) return false;
    stream.frames = mpg123_length(decoder);
    return stream.frames > 0;
}

}  // namespace

Mp3Open openMp3(const char* path, Mp3Stream& stream) {
    File file;
    if (const Mp3Open opened = openFile(path, file); opened != Mp3Open::ok) return opened;
    Decoder decoder = makeDecoder();
    if (!decoder) return Mp3Open::noDecoder;
    Mp3Stream found;
    if (mpg123_open_fd(decoder.get(), file.descriptor) != MPG123_OK) return failureOf(decoder.get());
    if (!fixFormat(decoder.get(), found) || !measure(decoder.get(), found)) return failureOf(decoder.get());
    setPreroll(decoder.get());
    found.decoder = decoder.release();
    found.file = std::exchange(file.descriptor, -1);
    stream = found;
    return Mp3Open::ok;
}

void closeMp3(Mp3Stream& stream) {
    mpg123_delete(stream.decoder);
    if (stream.file >= 0) close(stream.file);
    stream = Mp3Stream();
}

bool seekMp3(const Mp3Stream& stream, std::int64_t frame) {
    return mpg123_seek(stream.decoder, static_cast<off_t>(frame), SEEK_SET) >= 0;
}

int readMp3(const Mp3Stream& stream, std::span<std::int16_t> samples) {
    for (int idle = 0; idle < IDLE_READS_LIMIT; ++idle) {
        std::size_t bytes = 0;
        const int result = mpg123_read(stream.decoder, samples.data(), samples.size_bytes(), &bytes);
        const auto frames = bytes / (sizeof(std::int16_t) * static_cast<std::size_t>(stream.channels));
        if (frames > 0) return static_cast<int>(frames);
        // A new format is reported before the first frame, without data.
        if (result != MPG123_OK && result != MPG123_NEW_FORMAT) return 0;
    }
    return 0;
}
