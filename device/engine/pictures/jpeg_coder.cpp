#include "device/engine/files.h"
#include "device/engine/pictures/page_coder.h"

#include <algorithm>
#include <bit>
#include <csetjmp>
#include <cstdio>

#include <jpeglib.h>

namespace varn::engine {
namespace {

constexpr J_COLOR_SPACE pixel_space =
    std::endian::native == std::endian::little ? JCS_EXT_BGRX : JCS_EXT_XRGB;

/// The destination manager hands libjpeg the ring's blocks as its output buffer. libjpeg leaves by
/// longjmp on an error: the functions that call it hold nothing that needs destroying.
struct State {
    jpeg_compress_struct jpeg = {};
    jpeg_error_mgr errors = {};
    jpeg_destination_mgr destination = {};
    std::jmp_buf escape = {};
    BlockWriter *out = nullptr;
    std::size_t room = 0; ///< of the block that libjpeg has
    bool failed = false;
    JOCTET discarded[4096] = {}; ///< takes what is coded after the client has gone

    static State &of(j_common_ptr jpeg) { return *static_cast<State *>(jpeg->client_data); }

    [[noreturn]] static void on_error(j_common_ptr jpeg) {
        char text[JMSG_LENGTH_MAX];
        jpeg->err->format_message(jpeg, text);
        log_line(std::string("cannot code a page: ") + text);
        std::longjmp(of(jpeg).escape, 1);
    }

    void next_room() { set_room(failed ? std::span<std::uint8_t>() : out->room()); }

    void set_room(std::span<std::uint8_t> block) {
        failed = block.empty();
        destination.next_output_byte = failed ? discarded : block.data();
        destination.free_in_buffer = failed ? sizeof discarded : block.size();
        room = destination.free_in_buffer;
    }

    /// Tells the writer how far libjpeg has come.
    void account() {
        if (!failed)
            out->advance(room - destination.free_in_buffer);
        room = destination.free_in_buffer;
    }

    static void on_start(j_compress_ptr jpeg) {
        of(reinterpret_cast<j_common_ptr>(jpeg)).next_room();
    }
    static boolean on_full(j_compress_ptr jpeg) {
        State &state = of(reinterpret_cast<j_common_ptr>(jpeg));
        state.destination.free_in_buffer = 0; // libjpeg leaves this stale here
        state.account();
        state.next_room();
        return TRUE;
    }
    static void on_end(j_compress_ptr jpeg) { of(reinterpret_cast<j_common_ptr>(jpeg)).account(); }

    bool start(const PageForm &form) {
        jpeg.err = jpeg_std_error(&errors);
        errors.error_exit = on_error;
        if (setjmp(escape))
            return false;
        jpeg_create_compress(&jpeg);
        jpeg.client_data = this;
        destination.init_destination = on_start;
        destination.empty_output_buffer = on_full;
        destination.term_destination = on_end;
        jpeg.dest = &destination;
        jpeg.image_width = form.width;
        jpeg.image_height = form.height;
        jpeg.input_components = form.kind == PixelKind::colour ? 4 : 1;
        jpeg.in_color_space = form.kind == PixelKind::colour ? pixel_space : JCS_GRAYSCALE;
        jpeg_set_defaults(&jpeg);
        jpeg_set_quality(&jpeg, jpeg_quality(form.compression_level), TRUE);
        jpeg.density_unit = 1;
        jpeg.X_density = form.x_dpi;
        jpeg.Y_density = form.y_dpi;
        jpeg_start_compress(&jpeg, TRUE);
        return true;
    }

    bool write(const std::uint8_t *rows, std::size_t stride, unsigned count) {
        if (setjmp(escape))
            return false;
        write_batches(rows, stride, count);
        return true;
    }

    void write_batches(const std::uint8_t *row, std::size_t stride, unsigned count) {
        while (count > 0) {
            JSAMPROW lines[16];
            const unsigned batch = std::min<unsigned>(count, std::size(lines));
            for (unsigned i = 0; i < batch; ++i, row += stride)
                lines[i] = const_cast<JSAMPROW>(row); // libjpeg's interface lacks the const
            jpeg_write_scanlines(&jpeg, lines, batch);
            count -= batch;
        }
    }

    bool finish() {
        if (setjmp(escape))
            return false;
        jpeg_finish_compress(&jpeg);
        return true;
    }
};

class JpegCoder : public PageCoder {
public:
    JpegCoder(const PageForm &form, BlockWriter &out) : state_(std::make_unique<State>()) {
        state_->out = &out;
        state_->jpeg.client_data = state_.get();
        state_->failed = !state_->start(form);
    }
    ~JpegCoder() override { jpeg_destroy_compress(&state_->jpeg); }
    JpegCoder(const JpegCoder &) = delete;
    JpegCoder &operator=(const JpegCoder &) = delete;

    bool write(const void *rows, unsigned count) override {
        State &state = *state_;
        const std::size_t stride = std::size_t{state.jpeg.image_width} *
                                   static_cast<unsigned>(state.jpeg.input_components);
        if (state.failed || !state.write(static_cast<const std::uint8_t *>(rows), stride, count))
            state.failed = true;
        state.account();
        return !state.failed;
    }

    /// libjpeg keeps nothing of its output buffer from one call to the next.
    void cut() override {
        if (!state_->failed)
            state_->set_room(state_->out->cut());
    }

    bool finish() override {
        if (state_->failed || !state_->finish())
            state_->failed = true;
        return !state_->failed;
    }

private:
    std::unique_ptr<State> state_;
};

} // namespace

int jpeg_quality(std::uint8_t compression_level) {
    return std::clamp(100 - 5 * std::max<int>(compression_level, 1), 10, 95);
}

std::unique_ptr<PageCoder> make_jpeg_coder(const PageForm &form, BlockWriter &out) {
    return std::make_unique<JpegCoder>(form, out);
}

} // namespace varn::engine
