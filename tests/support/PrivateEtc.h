#pragma once

#include <string>

/**
 * A private view of /etc for the calling process and what it starts: all that the machine has there but
 * norvik.
 *
 * The product reads its settings under /etc/norvik. A test may write there without touching the machine's own
 * files, with the code under test as it is: the process moves to a mount namespace of its own, as root or,
 * where the kernel lets it, in a user namespace.
 */
class PrivateEtc final
{
public:
    PrivateEtc() = delete;

    /**
     * Moves the process, once; call it before the first thread starts.
     *
     * @return false when the machine doesn't allow it: then a test that needs it is to be skipped
     */
    static bool Enter();

    /** The settings of all users. The rest throws std::logic_error without a good Enter(). */
    static constexpr const char* kConfigFile = "/etc/norvik/kmarkclient/config";
    static void WriteConfig(const std::string& xml);
    /** Removes /etc/norvik with all that is in it. */
    static void Clear();
};
