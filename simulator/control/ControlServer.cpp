#include "simulator/control/ControlServer.h"

#include "simulator/cards/CardCatalogue.h"
#include "simulator/world/UnixSocket.h"

#include <charconv>
#include <stdexcept>

#include <sys/socket.h>
#include <sys/time.h>

namespace
{

using namespace Simulator;

constexpr std::size_t kLongestLine = 4096;
constexpr time_t kClientSeconds = 5;

std::vector<std::string> Split(const std::string& line)
{
    std::vector<std::string> words;
    bool bInWord = false;
    for (const char character : line)
    {
        const bool bBlank = character == ' ' || character == '\n' || character == '\r' || character == '\t';
        if (!bBlank && !bInWord)
        {
            words.emplace_back();
        }
        if (!bBlank)
        {
            words.back().push_back(character);
        }
        bInWord = !bBlank;
    }
    return words;
}

std::string ReceiveUntil(int socket, bool bLine)
{
    std::string text;
    char part[512];
    ssize_t length = 0;
    while (text.size() < kLongestLine && (!bLine || text.find('\n') == std::string::npos) &&
           (length = ::recv(socket, part, sizeof part, 0)) > 0)
    {
        text.append(part, static_cast<std::size_t>(length));
    }
    return text;
}

} // namespace

namespace Simulator
{

ControlServer::ControlServer(World& world, CardOptions options, std::string path)
    : m_World(world), m_Options(std::move(options)), m_Path(std::move(path))
{
    Add("insert", 2, [this](const Words& words) {
        m_World.Insert(ReaderNumber(words[0]), MakeCard(words[1], m_Options));
        return std::string();
    });
    Add("remove", 1, [this](const Words& words) {
        m_World.Remove(ReaderNumber(words[0]));
        return std::string();
    });
    Add("swap", 2, [this](const Words& words) {
        m_World.Swap(ReaderNumber(words[0]), MakeCard(words[1], m_Options));
        return std::string();
    });
    Add("status", 0, [this](const Words&) { return Status(); });
    m_Listener = UnixSocket::Listen(m_Path, SOCK_STREAM);
    m_Thread = std::thread([this] { Serve(); });
}

ControlServer::~ControlServer()
{
    ::shutdown(m_Listener.Get(), SHUT_RDWR);
    m_Thread.join();
    ::unlink(m_Path.c_str());
}

void ControlServer::Add(const std::string& name, std::size_t argumentCount, Handler handler)
{
    m_Commands[name] = {argumentCount, std::move(handler)};
}

std::string ControlServer::Answer(const std::string& line)
{
    Words words = Split(line);
    const auto found = words.empty() ? m_Commands.end() : m_Commands.find(words[0]);
    if (found == m_Commands.end())
    {
        return "error: unknown command\n";
    }
    words.erase(words.begin());
    if (words.size() != found->second.argumentCount)
    {
        return "error: " + found->first + " takes " + std::to_string(found->second.argumentCount) +
               " arguments\n";
    }
    try
    {
        return "ok\n" + found->second.handler(words);
    }
    catch (const std::exception& refusal)
    {
        return std::string("error: ") + refusal.what() + "\n";
    }
}

void ControlServer::Serve()
{
    while (true)
    {
        const FileDescriptor client(::accept4(m_Listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (!client.IsOpen())
        {
            return;
        }
        // One after the other: a client that says nothing must not hold up the next for long.
        const timeval patience = {kClientSeconds, 0};
        ::setsockopt(client.Get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        const std::string answer = Answer(ReceiveUntil(client.Get(), true));
        ::send(client.Get(), answer.data(), answer.size(), MSG_NOSIGNAL);
    }
}

std::size_t ControlServer::ReaderNumber(const std::string& word) const
{
    std::size_t reader = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), reader);
    if (error != std::errc() || end != word.data() + word.size() || reader >= m_World.ReaderCount())
    {
        throw std::invalid_argument("no reader " + word);
    }
    return reader;
}

std::string ControlServer::Status() const
{
    std::string lines;
    for (std::size_t reader = 0; reader < m_World.ReaderCount(); ++reader)
    {
        const std::shared_ptr<Card> card = m_World.CardIn(reader);
        lines += std::to_string(reader) + "\t" + m_World.ReaderName(reader) + "\t" +
                 (card ? card->Kind() : "empty") + "\n";
    }
    return lines;
}

std::string AskControl(const std::string& path, const std::string& line)
{
    const FileDescriptor connection = UnixSocket::Connect(path, SOCK_STREAM);
    const std::string message = line + "\n";
    if (!connection.IsOpen() || ::send(connection.Get(), message.data(), message.size(), MSG_NOSIGNAL) !=
                                    static_cast<ssize_t>(message.size()))
    {
        throw std::runtime_error("nobody listens at \"" + path + "\"");
    }
    return ReceiveUntil(connection.Get(), false);
}

} // namespace Simulator
