#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

/**
 * The system below LibInput, as a test wants it: no program is started, no time passes but by waiting.
 *
 * DialogWorld.cpp replaces fork, sleep, usleep, time, clock and shm_open of the test program. One at a time.
 */
struct DialogWorld
{
    DialogWorld();
    ~DialogWorld();
    DialogWorld(const DialogWorld&) = delete;
    DialogWorld& operator=(const DialogWorld&) = delete;

    /** Called in the place of the program that the module starts. */
    std::function<void()> OnStart = [] {};
    /** Called in each wait, after its time has passed. */
    std::function<void()> OnWait = [] {};
    int Starts = 0;
    std::vector<unsigned int> Sleeps;      ///< seconds, by sleep()
    std::vector<unsigned int> Microsleeps; ///< microseconds, by usleep()
    std::time_t Seconds = 1000;            ///< what time() tells; sleep() advances it
    std::clock_t Ticks = 100;              ///< what clock() tells; nothing advances it by itself
    int ShmOpenError = 0;                  ///< errno of a failing shm_open(); 0 lets it work
};

/** The test's own view of the segment. Opens an existing one; does not create it. */
class SegmentView final
{
public:
    SegmentView();
    ~SegmentView();
    SegmentView(const SegmentView&) = delete;
    SegmentView& operator=(const SegmentView&) = delete;

    [[nodiscard]] bool Exists() const { return m_Memory != nullptr; }
    [[nodiscard]] std::size_t Size() const { return m_Size; }
    [[nodiscard]] unsigned int Mode() const { return m_Mode; }
    [[nodiscard]] std::int32_t Word(std::size_t offset) const;
    void SetWord(std::size_t offset, std::int32_t value);
    [[nodiscard]] std::string Text(std::size_t offset, std::size_t length) const;
    void SetText(std::size_t offset, const std::string& text);

    static bool NameExists();
    /** Leaves a segment behind as an earlier run might have. */
    static void Create(std::size_t size, std::int32_t state);
    static void Remove();

private:
    /** Fails the test where there is no segment or not that much of it; gives bytes of no meaning then. */
    [[nodiscard]] char* At(std::size_t offset, std::size_t length) const;

    char* m_Memory = nullptr;
    std::size_t m_Size = 0;
    unsigned int m_Mode = 0;
};
