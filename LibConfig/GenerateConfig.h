#pragma once

#include <string>

/** The top section of all that the client software keeps: "k.mark Client". */
extern const std::string ClientRegKeyName;

/** The numbers that this module reads; the rest of the schema belongs to other programs of the family. */
enum ConfigId : unsigned int
{
    ConfigIdClientSection = 1,  ///< the top section, to list the sections in it
    ConfigIdLogLevel = 15,      ///< integer; 1 or more turns the log on, together with the file name
    ConfigIdLogFilename = 17,   ///< text; the directory of the log, or a name ending in ".log" in it
    ConfigIdReaderValue = 5003, ///< temporary, one value of a reader section after the other
};

/** Reads the settings into slot 0 of Norvik::Config and registers the numbers of the schema. */
void GenerateConfig();
/** Fills the table of paths; reads the log's file name, so it comes after GenerateConfig(). */
void GenerateFileSystem();
