// Tests of the system types: timer, mutex, progress reporting, init counter.
#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "system/oxLibInitCounter.h"
#include "system/oxMutex.h"
#include "system/oxProgressMonitorable.h"
#include "system/oxProgressNotifierInterface.h"
#include "system/oxTimer.h"

namespace {

// Records every value it receives.
class RecordingNotifier : public ox::oxProgressNotifierInterface {
public:
    void notifyProgress(float fValue) override { m_kValues.push_back(fValue); }
    std::vector<float> m_kValues;
};

// A minimal object reporting progress through the base class.
class Worker : public ox::oxProgressMonitorable {
public:
    void run(int iSteps)
    {
        resetProgressValue();
        for (int i = 1; i <= iSteps; ++i)
            setProgressValue(static_cast<float>(i) / iSteps);
    }
};

}  // namespace

TEST(oxLibInitCounter, NestingAndUnbalancedTerminate)
{
    ox::impl::LibInitCounter kCounter("oxTestLib", true);
    EXPECT_STREQ(kCounter.getName(), "oxTestLib");
    EXPECT_TRUE(kCounter.getFlag());
    EXPECT_EQ(kCounter.getCount(), 0u);
    EXPECT_FALSE(kCounter.decrementInitCounter());  // terminate before init: harmless
    EXPECT_EQ(kCounter.getCount(), 0u);
    EXPECT_TRUE(kCounter.incrementInitCounter());
    EXPECT_FALSE(kCounter.incrementInitCounter());
    EXPECT_EQ(kCounter.getCount(), 2u);
    EXPECT_FALSE(kCounter.decrementInitCounter());
    EXPECT_TRUE(kCounter.decrementInitCounter());
    EXPECT_FALSE(kCounter.decrementInitCounter());
    EXPECT_EQ(kCounter.getCount(), 0u);
    // A second cycle reports its first and last again.
    EXPECT_TRUE(kCounter.incrementInitCounter());
    EXPECT_TRUE(kCounter.decrementInitCounter());
}

TEST(oxLibInitCounter, ConcurrentCallersSeeOneFirstAndOneLast)
{
    ox::impl::LibInitCounter kCounter("oxConcurrent", false);
    const int iThreads = 8, iPerThread = 2000;
    for (int iRound = 0; iRound < 5; ++iRound) {
        std::atomic<int> kFirsts(0), kLasts(0);
        std::atomic<bool> kGo(false);
        std::vector<std::thread> kPool;
        for (int t = 0; t < iThreads; ++t)
            kPool.emplace_back([&] {
                while (!kGo.load())
                    std::this_thread::yield();
                for (int i = 0; i < iPerThread; ++i)
                    kFirsts += kCounter.incrementInitCounter() ? 1 : 0;
            });
        kGo = true;
        for (std::thread& rkThread : kPool)
            rkThread.join();
        EXPECT_EQ(kFirsts.load(), 1);
        EXPECT_EQ(kCounter.getCount(), static_cast<unsigned int>(iThreads * iPerThread));

        // Concurrent terminates, some of them unbalanced extras: exactly one last.
        kPool.clear();
        kGo = false;
        for (int t = 0; t < iThreads; ++t)
            kPool.emplace_back([&] {
                while (!kGo.load())
                    std::this_thread::yield();
                for (int i = 0; i < iPerThread + 10; ++i)
                    kLasts += kCounter.decrementInitCounter() ? 1 : 0;
            });
        kGo = true;
        for (std::thread& rkThread : kPool)
            rkThread.join();
        EXPECT_EQ(kLasts.load(), 1);
        EXPECT_EQ(kCounter.getCount(), 0u);
    }
}

TEST(oxProgressMonitorable, ForwardsValuesToTheNotifier)
{
    Worker kWorker;
    EXPECT_EQ(kWorker.getProgressNotifier(), nullptr);
    kWorker.run(4);  // no notifier: values are stored only
    EXPECT_EQ(kWorker.getProgressValue(), 1.0f);

    RecordingNotifier kNotifier;
    kWorker.setProgressNotifier(&kNotifier);
    EXPECT_EQ(kWorker.getProgressNotifier(), &kNotifier);
    kWorker.run(4);
    const std::vector<float> kExpected = {0.0f, 0.25f, 0.5f, 0.75f, 1.0f};
    EXPECT_EQ(kNotifier.m_kValues, kExpected);

    // Values outside 0..1 reach the host clamped.
    kNotifier.m_kValues.clear();
    kWorker.setProgressValue(1.5f);
    kWorker.setProgressValue(-0.5f);
    EXPECT_EQ(kNotifier.m_kValues, std::vector<float>({1.0f, 0.0f}));

    // Copies share the notifier and take the value.
    kWorker.setProgressValue(0.4f);
    Worker kCopy(kWorker);
    EXPECT_EQ(kCopy.getProgressNotifier(), &kNotifier);
    EXPECT_EQ(kCopy.getProgressValue(), 0.4f);
    kNotifier.m_kValues.clear();
    kCopy.setProgressValue(0.6f);
    EXPECT_EQ(kNotifier.m_kValues, std::vector<float>({0.6f}));
    EXPECT_EQ(kWorker.getProgressValue(), 0.4f);

    kWorker.setProgressNotifier(nullptr);
    kWorker.setProgressValue(0.9f);
    EXPECT_EQ(kNotifier.m_kValues.size(), 1u);

    // Deleting through the interface pointer runs the derived destructor.
    ox::oxProgressNotifierInterface* pkOwned = new RecordingNotifier();
    delete pkOwned;
}

TEST(oxTimer, MeasuresMonotonicMilliseconds)
{
    ox::oxTimer kIdle(false);
    EXPECT_EQ(kIdle.getElapsedMs(), 0.0);

    ox::oxTimer kTimer;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const double fRunning = kTimer.getElapsedMs();
    EXPECT_GE(fRunning, 20.0);
    kTimer.snapTime();
    const double fSnapped = kTimer.getElapsedMs();
    EXPECT_GE(fSnapped, fRunning);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(kTimer.getElapsedMs(), fSnapped);  // frozen at the snap
    kTimer.snapTime();
    EXPECT_GE(kTimer.getElapsedMs(), fSnapped + 5.0);

    kTimer.start();  // restarts and forgets the snap
    const double fRestarted = kTimer.getElapsedMs();
    EXPECT_LT(fRestarted, fSnapped);
    double fPrevious = fRestarted;
    for (int i = 0; i < 1000; ++i) {
        const double fNow = kTimer.getElapsedMs();
        EXPECT_GE(fNow, fPrevious);
        fPrevious = fNow;
    }
}

TEST(oxMutex, ExcludesConcurrentUpdates)
{
    ox::oxMutex kMutex;
    EXPECT_TRUE(kMutex.tryLock());
    std::thread kOther([&] { EXPECT_FALSE(kMutex.tryLock()); });
    kOther.join();
    kMutex.unlock();

    long lCounter = 0;
    std::vector<std::thread> kPool;
    for (int t = 0; t < 4; ++t)
        kPool.emplace_back([&] {
            for (int i = 0; i < 20000; ++i) {
                if (i % 2) {
                    ox::oxScopedLock kLock(kMutex);
                    ++lCounter;
                } else {
                    kMutex.lock();
                    ++lCounter;
                    kMutex.unlock();
                }
            }
        });
    for (std::thread& rkThread : kPool)
        rkThread.join();
    EXPECT_EQ(lCounter, 80000);
    EXPECT_TRUE(kMutex.tryLock());
    kMutex.unlock();
}
