#pragma once

#include <memory>

/**
 * The dialog segment, opened or created, truncated to its size and mapped for reading and writing.
 *
 * Unmaps and closes at its end. The name stays, for the other program and the next request, until
 * RemoveName().
 */
class MappedDialogSegment final
{
public:
    /** @throws boost::interprocess::interprocess_exception when the system refuses */
    MappedDialogSegment();
    ~MappedDialogSegment();
    MappedDialogSegment(const MappedDialogSegment&) = delete;
    MappedDialogSegment& operator=(const MappedDialogSegment&) = delete;

    /** DialogSegment::Size bytes, aligned to a page. */
    [[nodiscard]] char* Memory() const;

    /** Removes the name of the segment; a failure is ignored. */
    static void RemoveName() noexcept;

private:
    struct Mapping;
    std::unique_ptr<Mapping> m_Mapping;
};

/** Removes the segment's name when the scope ends, before a mapping that was declared in front of it goes. */
class DialogSegmentRemover final
{
public:
    DialogSegmentRemover() = default;
    ~DialogSegmentRemover() { MappedDialogSegment::RemoveName(); }
    DialogSegmentRemover(const DialogSegmentRemover&) = delete;
    DialogSegmentRemover& operator=(const DialogSegmentRemover&) = delete;
};
