#pragma once

#include <string>
#include <vector>

/** Paths are texts with '/' as separator. Nothing here throws when the file system refuses. */
namespace Norvik
{

/** The family's directory under the user's, and under that of all users. */
inline constexpr const char* NORVIK_PATH_USR = ".norvik";
inline constexpr const char* NORVIK_PATH_SYS = "norvik";

/** TMPDIR as it stands, otherwise "/tmp/". */
std::string GetTempDir();
/** HOME as it stands; empty when it is not set. */
std::string GetUserDir();
/** "/etc/". */
std::string GetAllUsersDir();

/** @p a and @p b with one slash between them; an empty @p a adds none, an empty @p b leaves it at the end. */
std::string CombinePaths(const std::string& a, const std::string& b);
/** Combines @p count parts, from left to right; empty for none. */
std::string CombinePaths(const std::string* parts, int count);
/** Up to and including the last slash that is not the last character; without one, the text unchanged. */
std::string RemoveLastPartFromPath(const std::string& path);
/** What follows the last slash; the whole text if it has none. */
std::string GetFilenameFromPath(const std::string& path);
/** Every backslash as a slash. */
std::string toNativeFS(std::string path);

/** Whether the name can be opened for reading; so it is true for a directory, too. */
bool FileExists(const std::string& path);
bool RenameFile(const std::string& source, const std::string& target);
bool RemoveFile(const std::string& path);
/** Replaces @p target, except by itself. */
bool CopyFile(const std::string& source, const std::string& target);

/** Makes one directory with the rights that the umask leaves; true if it is there already, or @p path empty.
 */
bool CreateOneDir(const std::string& path);
/**
 * Makes every directory that stands in front of a slash of @p path, up to the first failure.
 *
 * What follows the last slash is taken for a file name: "/a/b/c" makes /a and /a/b, "/a/b/c/" all three.
 */
bool CreateDirectories(const std::string& path);

/** prefix_YYYY-mm-dd-HH-MM-SS.extension, in local time. */
std::string GenerateFilenameWithTimestamp(std::string prefix, std::string extension);
/**
 * A name for a temporary file in @p directory: prefix, a random number of 6 digits, ".tmp".
 *
 * Seeds the C library's rand() with the time. Intended: a name that is taken already may come out.
 */
std::string GenerateTempFilename(std::string& directory, std::string prefix);

/** Appends the regular files of @p directory, each with the directory in front. @return false if it can't be
 * read */
bool ListAllFilesInDirectory(const std::string& directory, std::vector<std::string>& files);

/** Compare without regard to the case of ASCII letters. */
bool nocase_Equals(const std::string& a, const std::string& b);
bool nocase_EndsWith(const std::string& text, const std::string& suffix);

} // namespace Norvik
