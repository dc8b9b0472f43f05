#pragma once

#include "simulator/cards/CardOptions.h"
#include "simulator/world/FileDescriptor.h"
#include "simulator/world/World.h"

#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace Simulator
{

/**
 * Lets other processes change a world while it runs, through a UNIX socket of lines.
 *
 * A client sends one line and reads until the end: "ok", perhaps with further lines, or "error: " and why.
 *
 *     insert READER CARD    put a new card in
 *     remove READER         take the card out
 *     swap READER CARD      both
 *     status                one line for each reader: number, name, kind of card or "empty"
 */
class ControlServer final
{
public:
    using Words = std::vector<std::string>;
    /** Gets the words behind the command's name. @return further lines. Throws std::exception to refuse. */
    using Handler = std::function<std::string(const Words& arguments)>;

    ControlServer(World& world, CardOptions options, std::string path);
    ~ControlServer();
    ControlServer(const ControlServer&) = delete;
    ControlServer& operator=(const ControlServer&) = delete;

    /** Another command, e.g. for what a reader has beyond its card. To be added before clients come. */
    void Add(const std::string& name, std::size_t argumentCount, Handler handler);

    /** What a client would read for this line. */
    [[nodiscard]] std::string Answer(const std::string& line);

private:
    struct Command
    {
        std::size_t argumentCount = 0;
        Handler handler;
    };
    void Serve();
    [[nodiscard]] std::size_t ReaderNumber(const std::string& word) const;
    [[nodiscard]] std::string Status() const;

    World& m_World;
    CardOptions m_Options;
    std::string m_Path;
    std::map<std::string, Command> m_Commands;
    FileDescriptor m_Listener;
    std::thread m_Thread;
};

/** Sends one line to a ControlServer. @throws std::runtime_error when nobody answers */
std::string AskControl(const std::string& path, const std::string& line);

} // namespace Simulator
