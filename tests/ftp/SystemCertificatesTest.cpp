#include "SystemCertificates.h"

#include "EnvironmentValue.h"
#include "NoThreadLeft.h"
#include "TestCertificate.h"

#include <QTemporaryFile>

#include <gtest/gtest.h>

#include <openssl/x509.h>

namespace {

/// So many that reading them takes longer than the end of a program.
constexpr int certificateCount = 3000;

[[noreturn]] void endWhileReading()
{
    SystemCertificates::prepare();
    std::exit(0);
}

} // namespace

TEST(SystemCertificatesTest, WithoutAThreadTheCallerReads)
{
    const EnvironmentValue place(X509_get_default_cert_file_env(), "/dev/null"); // Of which nobody has read.
    const NoThreadLeft none;

    SystemCertificates::prepare();

    EXPECT_NE(SystemCertificates::store(), nullptr);
}

TEST(SystemCertificatesTest, TheEndOfTheProgramWaitsForReading)
{
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    file.write(TestCertificate::selfSigned().certificatePem().repeated(certificateCount));
    ASSERT_TRUE(file.flush());
    const EnvironmentValue place(X509_get_default_cert_file_env(), QFile::encodeName(file.fileName()));

    EXPECT_EXIT(endWhileReading(), testing::ExitedWithCode(0), "");
}
