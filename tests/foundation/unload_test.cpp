// A browser unloads the plug-in and goes on: nothing of the pool may be called or read after that, neither when the
// threads end that used it, nor when the library is loaded again.
#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <thread>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace {

using Work = int (*)();

#if defined(_WIN32)
struct Library {
    HMODULE handle = LoadLibraryA("libvt_unloaded.dll");
    [[nodiscard]] Work work() const {
        return reinterpret_cast<Work>(reinterpret_cast<void*>(GetProcAddress(handle, "vtWork")));
    }
    void unload() const { ASSERT_NE(0, FreeLibrary(handle)); }
};
#else
struct Library {
    void* handle = dlopen(VT_UNLOADED, RTLD_NOW | RTLD_LOCAL);
    [[nodiscard]] Work work() const { return reinterpret_cast<Work>(dlsym(handle, "vtWork")); }
    void unload() const { ASSERT_EQ(0, dlclose(handle)); }
};
#endif

// A thread that works when it is told to, and lives until it is told to end.
class Worker {
  public:
    explicit Worker(Work work) : thread_([this, work] { run(work); }) { await(1); }
    ~Worker() {
        tell(2);
        thread_.join();
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

  private:
    void run(Work work) {
        work();
        tell(1);
        await(2);
    }
    void tell(int step) {
        const std::lock_guard<std::mutex> lock(mutex_);
        step_ = step;
        changed_.notify_all();
    }
    void await(int step) {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [&] { return step_ >= step; });
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    int step_ = 0;
    std::thread thread_;
};

TEST(unload_test, ThreadsEndSoundlyAfterTheLibraryIsGone) {
    for (int round = 0; round < 3; ++round) {
        const Library library;
        ASSERT_NE(nullptr, library.handle);
        ASSERT_NE(nullptr, library.work());
        EXPECT_EQ(2600, library.work()());
        const Worker first(library.work());
        const Worker second(library.work());
        library.unload();
    }
}

TEST(unload_test, AThreadThatEndedBeforeIsForgotten) {
    const Library library;
    ASSERT_NE(nullptr, library.handle);
    { const Worker worker(library.work()); }
    EXPECT_EQ(2600, library.work()());
    library.unload();
}

}  // namespace
