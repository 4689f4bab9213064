#include "Support/NamedThread.h"

#include <atomic>
#include <memory>
#include <utility>

#include "Support/Errors.h"

namespace glimto {

namespace {

std::atomic<bool> someThreadWasDetached = false;

struct ThreadStart {
    std::string label;
    std::function<void()> function;
};

// Systems differ in whether the call takes the thread; the first form that compiles is used.
template <typename Thread, typename Name> void nameThread(Thread thread, Name name)
{
    if constexpr (requires { pthread_setname_np(thread, name); })
        pthread_setname_np(thread, name);
    else if constexpr (requires { pthread_setname_np(name); })
        pthread_setname_np(name);
}

void* runThread(void* argument)
{
    const std::unique_ptr<ThreadStart> start(static_cast<ThreadStart*>(argument));
    nameThisThread(start->label);
    start->function();
    return nullptr;
}

} // namespace

void nameThisThread(const std::string& label)
{
    constexpr std::size_t longest = 15;
    const std::string name = label.size() > longest ? label.substr(label.size() - longest) : label;
    nameThread(pthread_self(), name.c_str());
}

NamedThread::NamedThread(const std::string& label, std::size_t stackBytes, std::function<void()> function)
{
    auto start = std::make_unique<ThreadStart>(ThreadStart{label, std::move(function)});
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, stackBytes);
    const int error = pthread_create(&thread_, &attributes, &runThread, start.get());
    pthread_attr_destroy(&attributes);
    if (error != 0)
        throw PlatformError::posix("Could not start the thread " + label, error);
    static_cast<void>(start.release()); // the thread's own now
}

NamedThread::~NamedThread()
{
    join();
}

void NamedThread::join()
{
    if (!std::exchange(isOver_, true))
        pthread_join(thread_, nullptr);
}

void NamedThread::detach()
{
    if (std::exchange(isOver_, true))
        return;
    someThreadWasDetached = true;
    pthread_detach(thread_);
}

bool NamedThread::detachedAny()
{
    return someThreadWasDetached;
}

} // namespace glimto
