// The messages of the library, by number, and their way to standard error. A message is put together in a buffer on
// the stack and leaves in one write.
#include "platform/core.h"
#include "platform/keep_errno.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstring>
#include <string_view>
#include <unistd.h>
#include <xmmintrin.h>

namespace {

using namespace std::literals;

// In a text, %s stands for a string argument, %i for an int and %g for a double, in the order of the call: the text
// is also the list of its argument types.
struct Message {
    int id;
    std::string_view text;
};

constexpr Message messages[] = {
    // What happened, and in which function.
    {748, "nvo_ark: %s: invalid argument of the call (index %i)"},
    {749, "nvo_ark: %s: access to memory denied"},
    {750, "nvo_ark: %s: argument outside the domain of the function"},
    {751, "nvo_ark: %s: singularity, the result is infinite for a finite argument"},
    {752, "nvo_ark: %s: overflow, the result is too large"},
    {753, "nvo_ark: %s: underflow, the result is too small"},
    {754, "nvo_ark: %s: failure of an unknown kind"},
    // The element's values: one argument, one result ...
    {755, "    element %i: argument = %g"},
    {756, "    element %i: result = %g"},
    // ... one argument, two results ...
    {757, "    element %i: argument = %g"},
    {758, "    element %i: result 1 = %g"},
    {759, "    element %i: result 2 = %g"},
    // ... two arguments, one result ...
    {760, "    element %i: argument 1 = %g"},
    {761, "    element %i: argument 2 = %g"},
    {762, "    element %i: result = %g"},
    // ... two arguments, two results.
    {763, "    element %i: argument 1 = %g"},
    {764, "    element %i: argument 2 = %g"},
    {765, "    element %i: result 1 = %g"},
    {766, "    element %i: result 2 = %g"},
};

constexpr int standard_error = 1;          // stream code
constexpr std::size_t longest_string = 64; // more of a string argument isn't shown, so that the rest has room
constexpr int digits_to_read_back_double = 17;

// The default SSE control word for the length of a block. The conversion of a double compares it with 0, and in the
// caller's mode a denormal might count as 0 there, or a compare trap. The conversion itself is a call into another
// library, which the compiler doesn't move across the change of the control word.
class DefaultControlWord {
public:
    DefaultControlWord() { _mm_setcsr(all_masked_to_nearest); }
    DefaultControlWord(const DefaultControlWord&) = delete;
    DefaultControlWord& operator=(const DefaultControlWord&) = delete;
    ~DefaultControlWord() { _mm_setcsr(saved); }

private:
    static constexpr unsigned all_masked_to_nearest = 0x1F80;
    unsigned saved = _mm_getcsr();
};

// A line of text. What doesn't fit is left out; the newline always fits.
class Line {
public:
    void add(std::string_view text) {
        const std::size_t count = std::min<std::size_t>(text.size(), limit() - end);
        std::memcpy(end, text.data(), count);
        end += count;
    }
    void add(const char* string) {
        add(string ? std::string_view(string, strnlen(string, longest_string)) : "(null)"sv);
    }
    void add(int value) { keep(std::to_chars(end, limit(), value)); }
    // Not printf: that one follows the caller's locale and rounding direction, and may allocate.
    void add(double value) {
        const DefaultControlWord default_control_word;
        keep(std::to_chars(end, limit(), value, std::chars_format::general, digits_to_read_back_double));
    }
    void write_to(int file) {
        *end++ = '\n';
        for (const char* rest = buffer; rest != end;) {
            const ssize_t written = write(file, rest, static_cast<std::size_t>(end - rest));
            if (written > 0)
                rest += written;
            else if (written == 0 || errno != EINTR)
                return; // there is nowhere to report that a report failed
        }
    }

private:
    char* limit() { return buffer + sizeof buffer - 1; }
    void keep(std::to_chars_result result) {
        if (result.ec == std::errc()) end = result.ptr;
    }

    char buffer[256];
    char* end = buffer;
};

// Fills the arguments into the text, and reads no more of them than `count`.
void compose(Line& line, std::string_view text, int count, va_list arguments) {
    int used = 0;
    for (std::size_t mark; (mark = text.find('%')) != text.npos; text.remove_prefix(mark + 2)) {
        line.add(text.substr(0, mark));
        switch (used++ < count ? text[mark + 1] : '?') {
        case 's': line.add(va_arg(arguments, const char*)); break;
        case 'i': line.add(va_arg(arguments, int)); break;
        case 'g': line.add(va_arg(arguments, double)); break;
        default: line.add("?"sv);
        }
    }
    line.add(text);
}

} // namespace

void nvo_serv_print(int stream_code, int id, int count, ...) {
    if (stream_code != standard_error) return;
    const KeepErrno keep_errno;

    Line line;
    const auto message = std::ranges::find(messages, id, &Message::id);
    if (message != std::end(messages)) {
        va_list arguments;
        va_start(arguments, count);
        compose(line, message->text, count, arguments);
        va_end(arguments);
    } else {
        line.add("nvo_ark: message "sv);
        line.add(id);
        line.add(" has no text"sv);
    }
    line.write_to(STDERR_FILENO);
}
