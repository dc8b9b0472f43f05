#include "crypto/ShowCertificate.h"

#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryDirectory.h"

#include <fstream>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace
{

/** Waits for the only child and returns how it exited. */
int ExitStatusOfTheChild()
{
    int status = 0;
    wait(&status);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(ShowCertificate, StartsTheViewerWithThePath)
{
    const TemporaryDirectory directory;
    const std::string viewer = directory.File("certViewerApp");
    std::ofstream(viewer) << "#!/bin/sh\necho \"$# $1\" > \"$0.seen\"\n";
    chmod(viewer.c_str(), 0700);
    const ScopedEnvironment path("PATH", (directory.Path() + ":/usr/bin:/bin").c_str());

    EXPECT_TRUE(Norvik::ShowCertificate("/tmp/a certificate.cer"));

    EXPECT_EQ(ExitStatusOfTheChild(), 0);
    std::string seen;
    std::ifstream file(viewer + ".seen");
    std::getline(file, seen);
    EXPECT_EQ(seen, "1 /tmp/a certificate.cer");
}

TEST(ShowCertificate, WithoutAViewerSaysSoInTheChild)
{
    const TemporaryDirectory directory;
    const ScopedEnvironment path("PATH", directory.Path().c_str());

    testing::internal::CaptureStderr();
    EXPECT_TRUE(Norvik::ShowCertificate("/tmp/certificate.cer"));
    const int status = ExitStatusOfTheChild();
    const std::string text = testing::internal::GetCapturedStderr();

    EXPECT_EQ(status, 255);
    EXPECT_EQ(text, "ERROR: can not execute certViewerApp: No such file or directory\n");
}

} // namespace
