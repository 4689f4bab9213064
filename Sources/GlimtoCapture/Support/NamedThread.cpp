#include "Support/NamedThread.h"

#include <utility>

#include "Support/ProcessWide.h"
#include "Support/Errors.h"

namespace glimto {

struct NamedThread::Start {
    std::string label;
    std::function<void()> function;
    std::shared_ptr<HasEnded> hasEnded;

    void run()
    {
        function();
        function = nullptr; // before anybody is told that it has ended
        hasEnded->change([](bool& ended) { ended = true; });
    }
};

namespace {

// Systems differ in whether the call takes the thread; the first form that compiles is used.
template <typename Thread, typename Name> void nameThread(Thread thread, Name name)
{
    if constexpr (requires { pthread_setname_np(thread, name); })
        pthread_setname_np(thread, name);
    else if constexpr (requires { pthread_setname_np(name); })
        pthread_setname_np(name);
}

template <typename Start> void* runThread(void* argument)
{
    const std::unique_ptr<Start> start(static_cast<Start*>(argument));
    nameThisThread(start->label);
    start->run();
    return nullptr;
}

} // namespace

void nameThisThread(const std::string& label)
{
    constexpr std::size_t longest = 15;
    const std::string name = label.size() > longest ? label.substr(label.size() - longest) : label;
    nameThread(pthread_self(), name.c_str());
}

NamedThread::NamedThread(const std::string& label, std::function<void()> function)
    : NamedThread(label, usualStackBytes, std::move(function))
{
}

NamedThread::NamedThread(const std::string& label, std::size_t stackBytes, std::function<void()> function)
{
    auto start = std::make_unique<Start>(Start{label, std::move(function), hasEnded_});
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, stackBytes);
    const int error = pthread_create(&thread_, &attributes, &runThread<Start>, start.get());
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

bool NamedThread::joinWithin(std::chrono::nanoseconds limit)
{
    const bool isInTime = isOver_ || hasEnded_->waitFor(limit, [](bool ended) { return ended; });
    if (isInTime)
        join();
    else
        abandon();
    return isInTime;
}

void NamedThread::abandon()
{
    if (std::exchange(isOver_, true))
        return;
    noteAbandonedWork();
    pthread_detach(thread_);
}

} // namespace glimto
