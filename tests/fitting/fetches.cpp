#include "tests/fitting/fetches.h"

#include <dlfcn.h>
#include <mutex>

namespace nvo::tests::fetches {

namespace {

enum class Answer { real, none, given };

struct State {
    std::mutex mutex;
    int count = 0;
    Answer answer = Answer::real;
    NvoServFunction given = nullptr;
    std::string last_name;
};
State& state() {
    static State the_state;
    return the_state;
}

void set(Answer answer, NvoServFunction given) {
    const std::lock_guard lock(state().mutex);
    state().answer = answer;
    state().given = given;
}

} // namespace

int count() {
    const std::lock_guard lock(state().mutex);
    return state().count;
}
std::string last_name() {
    const std::lock_guard lock(state().mutex);
    return state().last_name;
}
void refuse() { set(Answer::none, nullptr); }
void answer_with(NvoServFunction solver) { set(Answer::given, solver); }
NvoServFunction find(const char* name) {
    using Find = NvoServFunction(const char*);
    static auto* const real = reinterpret_cast<Find*>(dlsym(RTLD_NEXT, "nvo_serv_load_thread_fun"));
    return real(name);
}

} // namespace nvo::tests::fetches

// Found before that of the core service library.
NvoServFunction nvo_serv_load_thread_fun(const char* name) {
    using namespace nvo::tests::fetches;
    const std::lock_guard lock(state().mutex);
    ++state().count;
    state().last_name = name;
    switch (state().answer) {
    case Answer::real: return find(name);
    case Answer::given: return state().given;
    default: return nullptr;
    }
}
