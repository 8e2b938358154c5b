#include "app/SessionReader.h"
#include "tests/app/WorkflowFixture.h"
#include "tests/support/RefusedCalls.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace corvane {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// A reader, and a session for it to read.
class SessionReaderTest : public WorkflowTest {
protected:
    SessionReaderTest() {
        installLiveTrax();
        LiveTraxGenerator::generate(fakes.platform, "Show", *fakes.musicFolder, kickAndKeys());
        session = makeSessionFolder("Show");
        fakes.platform.volumeOf = [](const std::filesystem::path &path) {
            return Volume{path.filename().string(), 7};
        };
    }
    SessionQuestion question(const Channels &channels) {
        return {session, signature(channels), channels, *fakes.musicFolder};
    }
    SessionReader::Told keep() {
        return [this](const SessionAnswer &answer) { answers.push_back(answer); };
    }

    std::filesystem::path session;
    SessionReader reader{fakes.platform};
    std::vector<SessionAnswer> answers;
};

TEST_F(SessionReaderTest, ReadsOnAQueueOfItsOwnAndTellsOnTheMainQueue) {
    reader.ask(question(movedKeys()), keep());
    EXPECT_THAT(answers, IsEmpty());
    fakes.clock->run();
    ASSERT_THAT(answers, SizeIs(1));
    EXPECT_TRUE(answers[0].exists);
    EXPECT_EQ(answers[0].signature, signature(kickAndKeys()));
    ASSERT_TRUE(answers[0].plan);
    EXPECT_EQ(answers[0].plan->result.added, 1U);
    EXPECT_THAT(answers[0].volumes, ElementsAre(Volume{"Music", 7}, Volume{"Show", 7}));
}

TEST_F(SessionReaderTest, AnotherQuestionTakesThePlaceOfTheOneThatIsBeingAnswered) {
    reader.ask(question(movedKeys()), keep());
    reader.ask(question(kickAndKeys()), keep());
    fakes.clock->run();
    ASSERT_THAT(answers, SizeIs(1));
    EXPECT_EQ(answers[0].question, question(kickAndKeys()));
}

TEST_F(SessionReaderTest, TheSameQuestionAgainIsAnsweredOnceMoreAfterwards) {
    reader.ask(question(kickAndKeys()), keep());
    reader.ask(question(kickAndKeys()), keep());
    reader.ask(question(kickAndKeys()), keep());
    fakes.clock->run();
    EXPECT_THAT(answers, SizeIs(2));
}

TEST_F(SessionReaderTest, TheDisksAreLookedAtAnewEachTime) {
    reader.ask(question(kickAndKeys()), keep());
    fakes.clock->run();
    fakes.platform.volumeOf = [](const std::filesystem::path &) { return Volume{"Stick", 8}; };
    reader.ask(question(kickAndKeys()), keep());
    fakes.clock->run();
    ASSERT_THAT(answers, SizeIs(2));
    EXPECT_THAT(answers[1].volumes, ElementsAre(Volume{"Stick", 8}, Volume{"Stick", 8}));
}

TEST_F(SessionReaderTest, OtherColoursAreAnotherPlanOfTheSameQuestion) {
    const auto coloured = [](const SessionAnswer &answer) {
        return std::count_if(answer.plan->tracks.begin(), answer.plan->tracks.end(),
                             [](const TrackDecision &track) { return track.was.color.has_value(); });
    };
    Channels red = kickAndKeys();
    red[0].red = 1;
    reader.ask(question(kickAndKeys()), keep());
    reader.ask(question(red), keep()); // while it is in flight
    fakes.clock->run();
    ASSERT_THAT(answers, SizeIs(2));
    EXPECT_EQ(coloured(answers[0]), 0);
    EXPECT_EQ(coloured(answers[1]), 1);
    reader.ask(question(kickAndKeys()), keep());
    fakes.clock->run();
    EXPECT_EQ(coloured(answers.back()), 0);
}

TEST_F(SessionReaderTest, ASessionThatWasWrittenSinceIsReadAgain) {
    reader.ask(question(kickAndKeys()), keep());
    fakes.clock->run();
    LiveTraxGenerator::update(fakes.platform, session, movedKeys());
    touch(session / "Show.ardour");
    reader.ask(question(kickAndKeys()), keep());
    fakes.clock->run();
    ASSERT_THAT(answers, SizeIs(2));
    EXPECT_EQ(answers[1].signature, signature(movedKeys()));
}

TEST_F(SessionReaderTest, AnUnchangedSessionIsNotReadAgainForTheSameQuestion) {
    reader.ask(question(movedKeys()), keep());
    fakes.clock->run();
    fakes.resources->files.clear(); // no plan could be made any more
    reader.ask(question(movedKeys()), keep());
    fakes.clock->run();
    reader.ask(question(kickAndKeys()), keep());
    fakes.clock->run();
    ASSERT_THAT(answers, SizeIs(3));
    EXPECT_EQ(answers[1].plan, answers[0].plan);
    EXPECT_TRUE(answers[1].plan);
    EXPECT_FALSE(answers[2].plan);
}

TEST_F(SessionReaderTest, ASessionThatIsGoneOrTornIsToldAsSuch) {
    reader.ask(question(kickAndKeys()), keep());
    fakes.clock->run();
    EXPECT_TRUE(answers.back().signature);
    EXPECT_TRUE(answers.back().plan);
    fakes.folder.write("home/Music/Show/Show.ardour", "no session");
    reader.ask(question(kickAndKeys()), keep());
    fakes.clock->run();
    EXPECT_TRUE(answers.back().exists);
    EXPECT_FALSE(answers.back().signature);
    EXPECT_FALSE(answers.back().plan);
    std::filesystem::remove_all(session);
    reader.ask(question(kickAndKeys()), keep());
    fakes.clock->run();
    EXPECT_FALSE(answers.back().exists);
}

TEST_F(SessionReaderTest, OfASessionWithoutItsTracksNobodyKnowsWhatWasRecordedSince) {
    LiveTraxGenerator::update(fakes.platform, session, movedKeys());
    SessionQuestion since = question(movedKeys());
    since.copy = History(fakes.platform).copies(session).front();
    reader.ask(since, keep());
    fakes.clock->run();
    EXPECT_EQ(answers.back().recordingsSince, 0);
    fakes.folder.write("home/Music/Show/Show.ardour", "<Session name=\"Show\" sample-rate=\"48000\"/>");
    reader.ask(since, keep());
    fakes.clock->run();
    EXPECT_TRUE(answers.back().exists);
    EXPECT_EQ(answers.back().recordingsSince, std::nullopt) << "or Undo would be offered";
}

TEST_F(SessionReaderTest, AReaderThatIsGoneTellsNothing) {
    {
        SessionReader other(fakes.platform);
        other.ask(question(kickAndKeys()), keep());
    }
    fakes.clock->run();
    EXPECT_THAT(answers, IsEmpty());
}

TEST_F(SessionReaderTest, ASessionThatCouldNotBeReadForAMomentIsReadAtTheNextOccasion) {
    reader.ask(question(movedKeys()), keep());
    if (!withoutOpening([&] { fakes.clock->run(); }))
        GTEST_SKIP() << "this system refuses no calls";
    ASSERT_THAT(answers, SizeIs(1));
    ASSERT_TRUE(answers[0].exists);
    ASSERT_FALSE(answers[0].signature);
    for (int i = 0; i < 10; ++i) {
        reader.ask(question(movedKeys()), keep());
        fakes.clock->advance(std::chrono::seconds(15));
    }
    EXPECT_TRUE(answers.back().signature);
    EXPECT_TRUE(answers.back().plan);
}

} // namespace

} // namespace corvane
