#include "Upload/RecordingUploadJobStore.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <set>

#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Fakes/FakeProcessEnvironment.h"
#include "Fakes/TemporaryDirectory.h"
#include "Support/Errors.h"
#include "Support/SHA256.h"
#include "Upload/TaskCancellationError.h"

namespace glimto {
namespace {

namespace fs = std::filesystem;
using State = RecordingUploadJob::State;

class RecordingUploadJobStoreTests : public testing::Test {
protected:
    RecordingUploadJobStore open(TakeUse use) const { return {take, options, use, managedRoot}; }

    // Opens the take and lets it go again.
    std::string openingFailure(TakeUse use) const
    {
        try {
            open(use);
        } catch (const Error& error) {
            return error.what();
        }
        return "no failure";
    }

    void create() const { open(TakeUse::capturing); }

    std::string jobText() const
    {
        std::ifstream file(take / "upload-job.json");
        return {std::istreambuf_iterator<char>(file), {}};
    }

    void cancel() const { std::ofstream(take / ".upload-canceled") << "anything"; }

    TemporaryDirectory directory;
    fs::path take = directory.path() / "deep" / "take";
    std::optional<RecordingUploadOptions> options
        = RecordingUploadOptions{.accessKey = " key\n", .apiBaseURL = "http://h:1//", .recordingId = "abc"};
    std::optional<fs::path> managedRoot;
};

TEST_F(RecordingUploadJobStoreTests, ATakeToBeCapturedGetsAPreparedJob)
{
    const auto store = open(TakeUse::capturing);
    const auto job = store.read();
    EXPECT_EQ(store.directory(), take);
    EXPECT_EQ(job.version, 1);
    EXPECT_EQ(job.recordingId, "abc");
    EXPECT_EQ(job.mode, RecordingUploadJob::Mode::upload);
    EXPECT_EQ(job.apiBaseUrl, "http://h:1");
    EXPECT_EQ(job.credentialSha256, sha256Hex("key"));
    EXPECT_EQ(job.state, State::prepared);
    EXPECT_EQ(job.uploadAttempts, 0U);
    EXPECT_GT(job.createdAtUnixMs, 1'600'000'000'000U);
    EXPECT_EQ(job.lastError, std::nullopt);
    EXPECT_THAT(jobText(), testing::Not(testing::HasSubstr("key\"")));
}

TEST_F(RecordingUploadJobStoreTests, WithoutAnIDOneIsMade)
{
    options->recordingId = "  ";
    EXPECT_THAT(open(TakeUse::capturing).read().recordingId, testing::MatchesRegex("rec_[a-z]{16}"));
}

TEST_F(RecordingUploadJobStoreTests, ALocalTakeGetsALocalJob)
{
    options.reset();
    const auto job = open(TakeUse::capturing).read();
    EXPECT_EQ(job.mode, RecordingUploadJob::Mode::local);
    EXPECT_EQ(job.apiBaseUrl, std::nullopt);
    EXPECT_EQ(job.credentialSha256, std::nullopt);
}

TEST_F(RecordingUploadJobStoreTests, AnUploadNeedsAnAccessKey)
{
    for (const std::optional<std::string>& key :
        {std::optional<std::string>(), std::optional<std::string>(""), std::optional<std::string>(" \n")}) {
        options->accessKey = key;
        EXPECT_EQ(openingFailure(TakeUse::capturing), "Recording upload requires an access key.");
        EXPECT_FALSE(fs::exists(take / "upload-job.json"));
    }
}

TEST_F(RecordingUploadJobStoreTests, ATakeWithoutAJobIsNotUploaded)
{
    const std::string failure = "Recording has no upload job. Automatic upload is not allowed.";
    EXPECT_EQ(openingFailure(TakeUse::uploading), failure);
    EXPECT_FALSE(fs::exists(take));
    fs::create_directories(take);
    EXPECT_EQ(openingFailure(TakeUse::uploading), failure);
}

TEST_F(RecordingUploadJobStoreTests, ATakeIsOpenedAgainForItsUpload)
{
    create();
    const auto before = jobText();
    EXPECT_EQ(openingFailure(TakeUse::uploading), "no failure");
    EXPECT_EQ(jobText(), before);
}

TEST_F(RecordingUploadJobStoreTests, ATakeIsCapturedOnlyOnce)
{
    create();
    EXPECT_EQ(openingFailure(TakeUse::capturing), "Recording output already belongs to a started recording.");
}

TEST_F(RecordingUploadJobStoreTests, OneProcessAtATimeOwnsATake)
{
    auto store = std::make_unique<RecordingUploadJobStore>(open(TakeUse::capturing));
    EXPECT_EQ(openingFailure(TakeUse::uploading), "Recording is in use by another process.");
    EXPECT_EQ(openingFailure(TakeUse::capturing), "Recording is in use by another process.");
    store.reset();
    EXPECT_EQ(openingFailure(TakeUse::uploading), "no failure");
}

TEST_F(RecordingUploadJobStoreTests, TheLockFileIsPrivateAndEmpty)
{
    create();
    struct stat status = {};
    ASSERT_EQ(::stat((take / ".recording-owner.lock").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_EQ(status.st_size, 0);
}

TEST_F(RecordingUploadJobStoreTests, ALockFileThatIsALinkIsNotFollowed)
{
    fs::create_directories(take);
    fs::create_symlink(directory.path() / "elsewhere", take / ".recording-owner.lock");
    EXPECT_EQ(openingFailure(TakeUse::capturing), "Could not open recording ownership file.");
    EXPECT_FALSE(fs::exists(directory.path() / "elsewhere"));
}

TEST_F(RecordingUploadJobStoreTests, ATakeBehindALinkIsRefused)
{
    fs::create_directories(directory.path() / "real");
    fs::create_directory_symlink(directory.path() / "real", directory.path() / "link");
    take = directory.path() / "link";
    EXPECT_EQ(openingFailure(TakeUse::capturing), "Recording output must not use symbolic links.");
    take = directory.path() / "link" / "take";
    EXPECT_EQ(openingFailure(TakeUse::capturing), "Recording output must not use symbolic links.");
}

TEST_F(RecordingUploadJobStoreTests, DotsAndSlashesInThePathAreNoLinks)
{
    take = directory.path() / "a" / ".." / "." / "take/";
    EXPECT_EQ(open(TakeUse::capturing).directory(), directory.path() / "take");
}

TEST_F(RecordingUploadJobStoreTests, AJobThatIsNoRegularFileIsRefused)
{
    create();
    const std::string failure = "Recording upload job must be a regular file.";
    fs::rename(take / "upload-job.json", take / "other.json");
    fs::create_symlink(take / "other.json", take / "upload-job.json");
    EXPECT_EQ(openingFailure(TakeUse::uploading), failure);
    fs::remove(take / "upload-job.json");
    fs::create_symlink(take / "nothing", take / "upload-job.json");
    EXPECT_EQ(openingFailure(TakeUse::uploading), failure);
    fs::remove(take / "upload-job.json");
    fs::create_directory(take / "upload-job.json");
    EXPECT_EQ(openingFailure(TakeUse::uploading), failure);
    fs::remove(take / "upload-job.json");
    ASSERT_EQ(::mkfifo((take / "upload-job.json").c_str(), 0600), 0);
    EXPECT_EQ(openingFailure(TakeUse::uploading), failure);
}

TEST_F(RecordingUploadJobStoreTests, AnotherVersionIsRefused)
{
    create();
    std::ofstream(take / "upload-job.json") << R"({"version": 2})";
    EXPECT_EQ(openingFailure(TakeUse::uploading), "Recording upload job version is not supported.");
}

TEST_F(RecordingUploadJobStoreTests, AnotherDestinationOrKeyIsRefused)
{
    const std::string failure = "Recording upload destination or credential does not match its original job.";
    create();
    options->apiBaseURL = "http://h:2";
    EXPECT_EQ(openingFailure(TakeUse::uploading), failure);
    options->apiBaseURL = "http://h:1";
    options->accessKey = "other";
    EXPECT_EQ(openingFailure(TakeUse::uploading), failure);
    options->accessKey.reset();
    EXPECT_EQ(openingFailure(TakeUse::uploading), "Recording upload requires an access key.");
    options->accessKey = "key";
    EXPECT_EQ(openingFailure(TakeUse::uploading), "no failure");
    options->apiBaseURL = "http://h:1/";
    EXPECT_EQ(openingFailure(TakeUse::uploading), "no failure");
}

TEST_F(RecordingUploadJobStoreTests, LocalAndUploadDoNotMix)
{
    const auto given = options;
    options.reset();
    create();
    options = given;
    EXPECT_EQ(openingFailure(TakeUse::uploading),
        "Recording upload destination or credential does not match its original job.");
    fs::remove(take / "upload-job.json");
    create();
    options.reset();
    EXPECT_EQ(openingFailure(TakeUse::capturing), "Upload recording cannot be opened as a local recording.");
}

TEST_F(RecordingUploadJobStoreTests, ACanceledTakeIsNotOpened)
{
    create();
    cancel();
    EXPECT_THROW(open(TakeUse::uploading), TaskCancellationError);
}

TEST_F(RecordingUploadJobStoreTests, InTheManagedRootTheNameIsTheID)
{
    managedRoot = directory.path() / "deep";
    EXPECT_EQ(openingFailure(TakeUse::capturing),
        "Recording upload job ID does not match its local take directory.");
    options->recordingId.reset();
    EXPECT_EQ(open(TakeUse::capturing).read().recordingId, "take");
    fs::rename(take, directory.path() / "deep" / "moved");
    take = directory.path() / "deep" / "moved";
    EXPECT_EQ(openingFailure(TakeUse::uploading),
        "Recording upload job ID does not match its local take directory.");
}

TEST_F(RecordingUploadJobStoreTests, BelowTheManagedRootsTakesTheNameIsFree)
{
    managedRoot = directory.path();
    EXPECT_EQ(openingFailure(TakeUse::capturing), "no failure");
}

TEST_F(RecordingUploadJobStoreTests, TheManagedRootIsInTheHome)
{
    FakeProcessEnvironment environment;
    EXPECT_EQ(RecordingUploadJobStore::managedRecordingsRoot(environment), std::nullopt);
    environment.variables["HOME"] = "/home/me";
    EXPECT_EQ(RecordingUploadJobStore::managedRecordingsRoot(environment),
        "/home/me/Library/Application Support/Glimto/Recordings");
}

TEST_F(RecordingUploadJobStoreTests, AnAttemptIsCountedAndForgetsTheLastError)
{
    auto store = open(TakeUse::capturing);
    store.setState(State::failed, "oops");
    EXPECT_EQ(store.read().lastError, "oops");
    const auto job = store.beginUpload();
    EXPECT_EQ(job.state, State::uploading);
    EXPECT_EQ(job.uploadAttempts, 1U);
    EXPECT_EQ(job.lastError, std::nullopt);
    EXPECT_EQ(store.read(), job);
    EXPECT_EQ(store.beginUpload().uploadAttempts, 2U);
}

TEST_F(RecordingUploadJobStoreTests, EveryStateButTheLastTwoCanBeUploaded)
{
    auto store = open(TakeUse::capturing);
    for (const State state :
        {State::prepared, State::recording, State::ready, State::uploading, State::failed}) {
        store.setState(state);
        EXPECT_EQ(store.beginUpload().state, State::uploading);
    }
    for (const State state : {State::completed, State::canceled}) {
        store.setState(state);
        const auto before = jobText();
        EXPECT_THROW(store.beginUpload(), CLIError);
        EXPECT_EQ(jobText(), before);
    }
}

TEST_F(RecordingUploadJobStoreTests, ALocalJobIsNotPending)
{
    options.reset();
    auto store = open(TakeUse::capturing);
    try {
        store.beginUpload();
        FAIL();
    } catch (const CLIError& error) {
        EXPECT_STREQ(error.what(), "Recording job is not pending upload.");
    }
}

TEST_F(RecordingUploadJobStoreTests, TheCountOfAttemptsStopsAtItsMaximum)
{
    auto store = open(TakeUse::capturing);
    auto job = store.read();
    job.uploadAttempts = std::numeric_limits<std::uint64_t>::max();
    store.write(job);
    EXPECT_EQ(store.beginUpload().uploadAttempts, job.uploadAttempts);
}

TEST_F(RecordingUploadJobStoreTests, TheMarkerTurnsEveryStateIntoCanceled)
{
    auto store = open(TakeUse::capturing);
    EXPECT_NO_THROW(store.checkCancellation());
    cancel();
    EXPECT_THROW(store.checkCancellation(), TaskCancellationError);
    store.setState(State::failed, "oops");
    EXPECT_EQ(store.read().state, State::canceled);
    EXPECT_EQ(store.read().lastError, "oops");
}

TEST_F(RecordingUploadJobStoreTests, TheMarkerTurnsAnAttemptIntoCanceled)
{
    auto store = open(TakeUse::capturing);
    cancel();
    EXPECT_EQ(store.beginUpload().state, State::canceled);
}

TEST_F(RecordingUploadJobStoreTests, AFailedWriteLeavesTheJobAsItWas)
{
    auto store = open(TakeUse::capturing);
    const auto before = jobText();
    auto job = store.read();
    job.recordingId = "\xFF";
    EXPECT_THROW(store.write(job), CLIError);
    EXPECT_EQ(jobText(), before);
}

TEST_F(RecordingUploadJobStoreTests, AnErrorThatIsNoUTF8IsKeptReadably)
{
    auto store = open(TakeUse::capturing);
    store.setState(State::failed, "bad \xFF byte");
    EXPECT_EQ(store.read().lastError, "bad \xEF\xBF\xBD byte");
}

TEST_F(RecordingUploadJobStoreTests, WritesLeaveNothingElseBehind)
{
    auto store = open(TakeUse::capturing);
    store.setState(State::recording);
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(take))
        names.insert(entry.path().filename());
    EXPECT_EQ(names, std::set<std::string>({".recording-owner.lock", "upload-job.json"}));
}

TEST(RecordingUploadJobStoreValueTests, NewIDsAreAllDifferentAndUseEveryLetter)
{
    std::set<std::string> ids;
    std::set<char> letters;
    for (int count = 0; count < 200; ++count) {
        const auto id = RecordingUploadJobStore::newRecordingId();
        EXPECT_THAT(id, testing::MatchesRegex("rec_[a-z]{16}"));
        ids.insert(id);
        letters.insert(id.begin() + 4, id.end());
    }
    EXPECT_EQ(ids.size(), 200U);
    EXPECT_EQ(letters.size(), 26U);
}

TEST(RecordingUploadJobStoreValueTests, AnOriginHasNoSlashAtItsEnd)
{
    EXPECT_EQ(RecordingUploadJobStore::origin("http://h:1/base//"), "http://h:1/base");
    EXPECT_EQ(RecordingUploadJobStore::origin("http://h"), "http://h");
}

TEST(RecordingUploadJobStoreValueTests, AFingerprintIsOfTheTrimmedKey)
{
    EXPECT_EQ(RecordingUploadJobStore::fingerprint("abc"),
        "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(RecordingUploadJobStore::fingerprint(" abc \n"), RecordingUploadJobStore::fingerprint("abc"));
}

TEST_F(RecordingUploadJobStoreTests, OnlyTheOwnerMayReadTheJobWhateverTheUmask)
{
    for (const mode_t mask : {0, 022, 077}) {
        const mode_t previous = ::umask(mask);
        create();
        ::umask(previous);
        struct stat status = {};
        ASSERT_EQ(::stat((take / "upload-job.json").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, 0600U) << mask;
        fs::remove_all(take);
    }
}

TEST_F(RecordingUploadJobStoreTests, WhatAKilledUploadWasWritingIsRemoved)
{
    create();
    const auto leftover = take / ".upload-job.json.0123456789abcdef.tmp";
    std::ofstream(leftover) << "{";
    open(TakeUse::uploading);
    EXPECT_FALSE(fs::exists(leftover));
}

TEST_F(RecordingUploadJobStoreTests, AJobThatCostsMuchMemoryIsNotRead)
{
    create();
    std::ofstream(take / "upload-job.json") << std::string(1 << 20, ' ');
    EXPECT_THAT(openingFailure(TakeUse::uploading), testing::EndsWith("File too large"));
}

TEST_F(RecordingUploadJobStoreTests, ADirectoryWithAJobIsDescribed)
{
    EXPECT_EQ(describeUploadJob(take), std::nullopt);
    open(TakeUse::capturing).setState(State::failed, "no server");
    EXPECT_EQ(describeUploadJob(take),
        take.string() + " holds the upload job of abc (no server) and no finished take: remove "
            + (take / "upload-job.json").string() + " to record there or choose another directory.");
    std::ofstream(take / "manifest.json") << "{}";
    EXPECT_EQ(describeUploadJob(take),
        take.string()
            + " holds the upload job of abc (no server) and its take: send it with `glimto-capture upload` "
              "or "
              "choose another directory.");
    open(TakeUse::uploading).setState(State::completed);
    EXPECT_EQ(describeUploadJob(take),
        take.string()
            + " holds the upload job of abc, which is done, and its take: remove the directory or choose "
              "another "
              "directory.");
}

} // namespace
} // namespace glimto
