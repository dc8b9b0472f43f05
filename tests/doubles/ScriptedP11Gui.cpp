/**
 * P11Gui without a display: answers the requests in the dialog segment as a script says.
 *
 * Built as an executable named P11Gui in a directory of its own; whoever tests with it puts that directory
 * first on PATH. It takes no arguments, handles one request and ends.
 *
 * KMARK_P11GUI_SCRIPT names the script. Each start takes the first line that fits the request and has not
 * been taken by an earlier start; which ones have been is kept in "<script>.used". A line is
 *
 *     [<request>] [after <milliseconds>] <action> [<arguments>]
 *
 * with one of pin0, pin1, change0, change1, info for the request; without one it fits every request. Actions:
 *
 *     answer <pin>                                the user types a PIN and confirms
 *     answer <old pin> <new pin>                  the same for a change
 *     length <number> <bytes>                     a PIN answer whose length field holds any 32-bit number
 *     length <number> <number> <bytes> <bytes>    the same for a change: lengths and bytes, old before new
 *     cancel                                      the dialog ends without a result
 *     box                                         an info box that stays until it is killed or its time runs out
 *     done                                        the user closes the info box
 *     state <number>                              writes just this state word
 *     ignore                                      writes nothing until the module gives up
 *     crash                                       ends at once without a word
 *
 * "-" stands for an empty PIN. Blank lines and lines that begin with # do not count. Where no line fits, a
 * PIN dialog is cancelled and an info box stays, as "box" says.
 *
 * KMARK_P11GUI_LOG names a file that gets one line for each start:
 *
 *     pin0 min 4 max 8 timeout 60 -> answer
 *     info title "PIN-Eingabe" text "..." timeout -1 -> box
 *     ended                                       the box of an info request is gone; in a line of its own
 *
 * with a line feed in a text written as \n. No PIN is ever written anywhere but to the segment. Exit status:
 * 0 the request was handled, 1 there was none or the script is broken.
 */
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

// The protocol, written down here once more: a double that shared the module's header would share its
// mistakes.
constexpr char kSegmentName[] = "/{C9034F36-6695-4de4-BCE5-79C7810FACAF}";
constexpr std::size_t kSegmentSize = 65536;
constexpr std::int32_t kEnded = 5447;
constexpr std::int32_t kInfoDone = 5448;
constexpr std::int32_t kKill = 5449;

enum class Kind
{
    Pin,
    Change,
    Info,
};

struct Request
{
    const char* name;
    Kind kind;
    std::int32_t state;
    std::int32_t answer;
};

constexpr Request kRequests[] = {
    {"pin0", Kind::Pin, 5435, 5442},       {"pin1", Kind::Pin, 5436, 5443},
    {"change0", Kind::Change, 5438, 5445}, {"change1", Kind::Change, 5439, 5446},
    {"info", Kind::Info, 5440, 5448},
};

constexpr auto kPoll = std::chrono::milliseconds(5);
// Nobody is left to answer after this, whatever went wrong.
constexpr auto kLifetime = std::chrono::minutes(3);

using Words = std::vector<std::string>;

/** The request as it stood in the segment at the start. */
struct Dialog
{
    const Request* request = nullptr;
    std::uint32_t maxLength = 0;
    std::int32_t timeout = 0;
    std::string description;
};

struct Line
{
    Words action{"cancel"};
    std::chrono::milliseconds delay{0};
};

class Segment final
{
public:
    Segment()
    {
        const int descriptor = shm_open(kSegmentName, O_RDWR, 0);
        struct stat status = {};
        if (descriptor >= 0 && fstat(descriptor, &status) == 0 &&
            status.st_size >= std::streamoff{kSegmentSize})
        {
            void* const memory =
                mmap(nullptr, kSegmentSize, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
            m_Memory = memory == MAP_FAILED ? nullptr : static_cast<char*>(memory);
        }
        if (descriptor >= 0)
        {
            close(descriptor);
        }
    }
    ~Segment()
    {
        if (m_Memory != nullptr)
        {
            munmap(m_Memory, kSegmentSize);
        }
    }
    Segment(const Segment&) = delete;
    Segment& operator=(const Segment&) = delete;

    [[nodiscard]] bool IsOk() const { return m_Memory != nullptr; }
    [[nodiscard]] std::int32_t State() const { return StateWord().load(std::memory_order_acquire); }
    /** Leaves a word alone that is not @p expected any more: it belongs to another request. */
    bool Replace(std::int32_t expected, std::int32_t state)
    {
        return StateWord().compare_exchange_strong(expected, state, std::memory_order_acq_rel);
    }
    [[nodiscard]] std::uint32_t Word(std::size_t offset) const
    {
        std::uint32_t value = 0;
        if (offset <= kSegmentSize - sizeof(value))
        {
            std::memcpy(&value, m_Memory + offset, sizeof(value));
        }
        return value;
    }
    void SetWord(std::size_t offset, std::uint32_t value)
    {
        std::memcpy(m_Memory + offset, &value, sizeof(value));
    }
    [[nodiscard]] std::string Text(std::size_t offset, std::size_t length) const
    {
        const std::size_t begin = std::min(offset, kSegmentSize);
        return {m_Memory + begin, std::min(length, kSegmentSize - begin)};
    }
    void SetText(std::size_t offset, const std::string& text)
    {
        const std::size_t begin = std::min(offset, kSegmentSize);
        std::memcpy(m_Memory + begin, text.data(), std::min(text.size(), kSegmentSize - begin));
    }

private:
    [[nodiscard]] std::atomic_ref<std::int32_t> StateWord() const
    {
        return std::atomic_ref(*reinterpret_cast<std::int32_t*>(m_Memory));
    }

    char* m_Memory = nullptr;
};

std::string Environment(const char* name)
{
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

void Log(const std::string& text)
{
    const std::string path = Environment("KMARK_P11GUI_LOG");
    if (!path.empty())
    {
        std::ofstream(path, std::ios::app) << text + "\n" << std::flush;
    }
}

std::string Quoted(const std::string& text)
{
    std::string quoted = "\"";
    for (const char c : text)
    {
        quoted += c == '\n' ? std::string("\\n") : std::string(1, c);
    }
    return quoted + "\"";
}

Dialog ReadDialog(const Segment& segment, const Request& request)
{
    Dialog dialog;
    dialog.request = &request;
    if (request.kind == Kind::Info)
    {
        const std::size_t titleLength = std::min<std::size_t>(segment.Word(4), kSegmentSize);
        const std::size_t textLength = std::min<std::size_t>(segment.Word(8), kSegmentSize);
        dialog.timeout = static_cast<std::int32_t>(segment.Word(12 + titleLength + textLength));
        dialog.description = std::string(request.name) + " title " + Quoted(segment.Text(12, titleLength)) +
                             " text " + Quoted(segment.Text(12 + titleLength, textLength));
    }
    else
    {
        dialog.maxLength = segment.Word(8);
        dialog.timeout = static_cast<std::int32_t>(segment.Word(12));
        dialog.description = std::string(request.name) + " min " + std::to_string(segment.Word(4)) + " max " +
                             std::to_string(dialog.maxLength);
    }
    dialog.description += " timeout " + std::to_string(dialog.timeout);
    return dialog;
}

const Request* FindRequest(std::int32_t state)
{
    const auto* const found = std::find_if(std::begin(kRequests), std::end(kRequests),
                                           [state](const Request& row) { return row.state == state; });
    return found == std::end(kRequests) ? nullptr : found;
}

bool IsRequestName(const std::string& word)
{
    return std::any_of(std::begin(kRequests), std::end(kRequests),
                       [&word](const Request& row) { return word == row.name; });
}

Words Split(const std::string& text)
{
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

/** What the line says to do, when it fits the request. */
std::optional<Line> Fit(const std::string& text, const Request& request)
{
    Words words = Split(text);
    if (words.empty() || words.front().front() == '#')
    {
        return std::nullopt;
    }
    if (IsRequestName(words.front()))
    {
        if (words.front() != request.name)
        {
            return std::nullopt;
        }
        words.erase(words.begin());
    }
    Line line;
    if (words.size() > 2 && words.front() == "after")
    {
        line.delay = std::chrono::milliseconds(std::stol(words[1]));
        words.erase(words.begin(), words.begin() + 2);
    }
    line.action = words;
    return line;
}

/** Reads and updates the list of used lines while no other start does. */
Line TakeLine(const Request& request)
{
    const std::string script = Environment("KMARK_P11GUI_SCRIPT");
    Line line;
    line.action = {request.kind == Kind::Info ? "box" : "cancel"};
    if (script.empty())
    {
        return line;
    }
    const std::string usedPath = script + ".used";
    const int lock = open(usedPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    flock(lock, LOCK_EX);

    std::ifstream usedFile(usedPath);
    const Words used{std::istream_iterator<std::string>(usedFile), {}};
    std::ifstream scriptFile(script);
    int number = 0;
    for (std::string text; std::getline(scriptFile, text);)
    {
        const std::string name = std::to_string(++number);
        if (std::find(used.begin(), used.end(), name) != used.end())
        {
            continue;
        }
        if (const std::optional<Line> fitting = Fit(text, request); fitting.has_value())
        {
            std::ofstream(usedPath, std::ios::app) << name << "\n" << std::flush;
            line = *fitting;
            break;
        }
    }
    close(lock);
    return line;
}

std::string Argument(const Words& action, std::size_t index)
{
    const std::string word = index < action.size() ? action[index] : "-";
    return word == "-" ? std::string() : word;
}

std::uint32_t NumberArgument(const Words& action, std::size_t index)
{
    return static_cast<std::uint32_t>(std::stoul(action.at(index)));
}

void WritePin(Segment& segment, std::uint32_t length, const std::string& pin)
{
    segment.SetWord(4, length);
    segment.SetText(8, pin);
}

void WriteChange(Segment& segment, const Dialog& dialog, std::array<std::uint32_t, 2> lengths,
                 const std::string& oldPin, const std::string& newPin)
{
    segment.SetWord(4, lengths[0]);
    segment.SetWord(8, lengths[1]);
    segment.SetText(12, oldPin);
    segment.SetText(12 + std::size_t{dialog.maxLength}, newPin);
}

void Answer(Segment& segment, const Dialog& dialog, const Words& action)
{
    const std::string first = Argument(action, 1);
    const std::string second = Argument(action, 2);
    if (dialog.request->kind == Kind::Change)
    {
        WriteChange(segment, dialog,
                    {static_cast<std::uint32_t>(first.size()), static_cast<std::uint32_t>(second.size())},
                    first, second);
    }
    else
    {
        WritePin(segment, static_cast<std::uint32_t>(first.size()), first);
    }
    segment.Replace(dialog.request->state, dialog.request->answer);
}

void AnswerWithLength(Segment& segment, const Dialog& dialog, const Words& action)
{
    if (dialog.request->kind == Kind::Change)
    {
        WriteChange(segment, dialog, {NumberArgument(action, 1), NumberArgument(action, 2)},
                    Argument(action, 3), Argument(action, 4));
    }
    else
    {
        WritePin(segment, NumberArgument(action, 1), Argument(action, 2));
    }
    segment.Replace(dialog.request->state, dialog.request->answer);
}

/** Until the module withdraws the request, or @p limit is over. */
void WaitForEnd(const Segment& segment, const Dialog& dialog, std::chrono::milliseconds limit)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (segment.State() == dialog.request->state && std::chrono::steady_clock::now() < end)
    {
        std::this_thread::sleep_for(kPoll);
    }
}

void KeepBox(Segment& segment, const Dialog& dialog)
{
    const auto limit = dialog.timeout < 0 ? kLifetime : std::chrono::seconds(dialog.timeout);
    WaitForEnd(segment, dialog, limit);
    if (!segment.Replace(kKill, kInfoDone))
    {
        segment.Replace(dialog.request->state, kInfoDone);
    }
    Log("ended");
}

bool Perform(Segment& segment, const Dialog& dialog, const Line& line)
{
    const std::string& action = line.action.front();
    WaitForEnd(segment, dialog, line.delay);
    if (action == "answer")
    {
        Answer(segment, dialog, line.action);
    }
    else if (action == "length")
    {
        AnswerWithLength(segment, dialog, line.action);
    }
    else if (action == "cancel")
    {
        segment.Replace(dialog.request->state, kEnded);
    }
    else if (action == "done")
    {
        segment.Replace(dialog.request->state, kInfoDone);
    }
    else if (action == "box")
    {
        KeepBox(segment, dialog);
    }
    else if (action == "state")
    {
        segment.Replace(dialog.request->state, static_cast<std::int32_t>(NumberArgument(line.action, 1)));
    }
    else if (action == "ignore")
    {
        WaitForEnd(segment, dialog, kLifetime);
    }
    else if (action != "crash")
    {
        return false;
    }
    return true;
}

int Run()
{
    Segment segment;
    if (!segment.IsOk())
    {
        Log("no segment");
        return 1;
    }
    const std::int32_t state = segment.State();
    const Request* const request = FindRequest(state);
    if (request == nullptr)
    {
        // The box was killed before its program came up: the module waits for the word that it is gone.
        segment.Replace(kKill, kEnded);
        Log("no request in state " + std::to_string(state));
        return 1;
    }
    const Dialog dialog = ReadDialog(segment, *request);
    const Line line = TakeLine(*request);
    if (line.action.empty())
    {
        Log(dialog.description + " -> empty line");
        return 1;
    }
    Log(dialog.description + " -> " + line.action.front());
    return Perform(segment, dialog, line) ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 1 || std::string(argv[0]) != "P11Gui")
    {
        Log("started with arguments or another name");
        return 1;
    }
    try
    {
        return Run();
    }
    catch (const std::exception&)
    {
        // Its text might quote the script.
        Log("broken script");
        return 1;
    }
}
