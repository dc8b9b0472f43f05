// kmark-sim: runs a program with simulated cards in readers of a private pcscd.

#include "simulator/cards/CardCatalogue.h"
#include "simulator/command/RunProgram.h"
#include "simulator/control/ControlServer.h"
#include "simulator/pcscd/PrivatePcscd.h"
#include "simulator/trace/TraceDecoder.h"
#include "simulator/trace/TraceFile.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <stdexcept>

#include <CLI/CLI.hpp>

namespace
{

using namespace Simulator;

constexpr const char* kEmpty = "empty";
constexpr const char* kControlVariable = "KMARK_SIM_CONTROL";
constexpr const char* kPcscVariable = "PCSCLITE_CSOCK_NAME";

struct Arguments
{
    std::vector<std::string> cards;
    std::vector<std::string> readerNames;
    double latencyMilliseconds = 0;
    std::string pinFile;
    std::string traceFile;
    std::string controlSocket;
    bool bListCards = false;
    std::vector<std::string> program;

    std::vector<std::string> controlWords;
    std::string controlAt;
    std::string traceToShow;
};

void ListCards()
{
    for (const CardKind& kind : CardCatalogue())
    {
        std::printf("%-12.*s %.*s\n", static_cast<int>(kind.name.size()), kind.name.data(),
                    static_cast<int>(kind.description.size()), kind.description.data());
    }
}

// Lines of the form name=digits.
void ReadPins(const std::string& path, CardOptions& options)
{
    const std::map<std::string, std::string*> places = {{"encryption", &options.encryptionPin},
                                                        {"signature", &options.signaturePin},
                                                        {"infobox", &options.infoboxPin}};
    std::ifstream file(path);
    if (!file)
    {
        throw std::runtime_error("cannot read " + path);
    }
    std::string line;
    while (std::getline(file, line))
    {
        const std::size_t sign = line.find('=');
        const auto place = places.find(line.substr(0, sign));
        if (!line.empty() && (sign == std::string::npos || place == places.end()))
        {
            throw std::runtime_error(path +
                                     ": not of the form encryption=, signature= or infobox= and digits");
        }
        if (!line.empty())
        {
            *place->second = line.substr(sign + 1);
        }
    }
}

std::string ReaderName(const Arguments& arguments, std::size_t reader)
{
    if (reader < arguments.readerNames.size())
    {
        return arguments.readerNames[reader];
    }
    return "k.mark Simulated Reader";
}

int Run(const Arguments& arguments)
{
    const SignalGuard signals;
    CardOptions options;
    if (!arguments.pinFile.empty())
    {
        ReadPins(arguments.pinFile, options);
    }
    World world;
    std::unique_ptr<TraceFile> trace;
    if (!arguments.traceFile.empty())
    {
        trace = std::make_unique<TraceFile>(arguments.traceFile);
        world.SetTraceSink([&](const TraceEntry& entry) { trace->Write(entry); });
    }
    const std::chrono::microseconds latency(static_cast<long>(arguments.latencyMilliseconds * 1000));
    for (std::size_t index = 0; index < arguments.cards.size(); ++index)
    {
        const std::size_t reader = world.AddReader(ReaderName(arguments, index));
        if (arguments.cards[index] != kEmpty)
        {
            std::shared_ptr<Card> card = MakeCard(arguments.cards[index], options);
            card->SetLatency(latency);
            world.Insert(reader, std::move(card));
        }
    }
    const PrivatePcscd service(world);
    const std::string controlPath =
        arguments.controlSocket.empty() ? (service.Folder() / "control").string() : arguments.controlSocket;
    const ControlServer control(world, options, controlPath);
    ::setenv(kPcscVariable, service.ClientSocket().c_str(), 1);
    ::setenv(kControlVariable, controlPath.c_str(), 1);
    return RunProgram(arguments.program, signals);
}

int TellWorld(const Arguments& arguments)
{
    const char* inherited = std::getenv(kControlVariable);
    const std::string path =
        arguments.controlAt.empty() && inherited != nullptr ? inherited : arguments.controlAt;
    std::string line;
    for (const std::string& word : arguments.controlWords)
    {
        line += word + " ";
    }
    const std::string answer = AskControl(path, line);
    const bool bOk = answer.rfind("ok\n", 0) == 0;
    std::fputs(bOk ? answer.c_str() + 3 : answer.c_str(), bOk ? stdout : stderr);
    return bOk ? EXIT_SUCCESS : EXIT_FAILURE;
}

int ShowTrace(const std::string& path)
{
    std::ifstream file(path);
    if (!file)
    {
        throw std::runtime_error("cannot read " + path);
    }
    std::string text;
    while (std::getline(file, text))
    {
        const std::optional<TraceLine> line = TraceLine::Parse(text);
        if (!line.has_value())
        {
            throw std::runtime_error(path + " is not a trace of kmark-sim");
        }
        std::printf("%s\n", DecodeTraceLine(*line).c_str());
    }
    return EXIT_SUCCESS;
}

int Main(int count, char** words)
{
    Arguments arguments;
    CLI::App app("Runs a program with simulated cards in the readers of a private pcscd.", "kmark-sim");
    app.add_option("--card", arguments.cards, "A reader with this card, or \"empty\"; may be repeated")
        ->allow_extra_args(false);
    app.add_option("--reader", arguments.readerNames, "Name of the first, second, ... reader")
        ->allow_extra_args(false);
    app.add_option("--latency", arguments.latencyMilliseconds,
                   "Milliseconds that a card takes for each command")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--pins", arguments.pinFile,
                   "File with lines encryption=, signature=, infobox= and digits");
    app.add_option("--trace", arguments.traceFile,
                   "Write the commands of the run to this file, without PINs");
    app.add_option("--control", arguments.controlSocket, "Where the control socket is to be");
    app.add_flag("--list-cards", arguments.bListCards, "Name the cards and end");
    app.add_option("program", arguments.program, "Behind --: the program and its arguments");

    CLI::App* control =
        app.add_subcommand("control", "Change a running world: insert 0 acos03, remove 0, swap 0 "
                                      "acos03, status");
    control->add_option("--at", arguments.controlAt, "Its control socket; otherwise KMARK_SIM_CONTROL tells");
    control->add_option("words", arguments.controlWords, "The command")->required();
    CLI::App* trace =
        app.add_subcommand("trace", "Show a trace file: names of commands, files and status words");
    trace->add_option("file", arguments.traceToShow, "Written by --trace")->required();
    CLI11_PARSE(app, count, words);

    if (*control)
    {
        return TellWorld(arguments);
    }
    if (*trace)
    {
        return ShowTrace(arguments.traceToShow);
    }
    if (arguments.bListCards)
    {
        ListCards();
        return EXIT_SUCCESS;
    }
    if (arguments.program.empty())
    {
        std::fprintf(stderr, "kmark-sim: which program? See kmark-sim --help\n");
        return EXIT_FAILURE;
    }
    return Run(arguments);
}

} // namespace

int main(int count, char** words)
{
    try
    {
        return Main(count, words);
    }
    catch (const std::exception& failure)
    {
        std::fprintf(stderr, "kmark-sim: %s\n", failure.what());
        return EXIT_FAILURE;
    }
}
