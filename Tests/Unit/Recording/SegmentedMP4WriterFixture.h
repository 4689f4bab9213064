#pragma once

#include <exception>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Fakes/FakeAssetWriter.h"
#include "Fakes/FakeCaptureStream.h"
#include "Fakes/FakeLineOutput.h"
#include "Recording/SegmentedMP4Writer.h"
#include "RecordingTestSupport.h"

namespace glimto {

using Lines = std::vector<std::string>;

// A writer whose encoders are fakes, in a take of its own.
class SegmentedMP4WriterFixture : public ::testing::Test {
protected:
    static SegmentedMP4Writer::Settings videoSettings()
    {
        return {.width = 64, .height = 48, .framesPerSecond = 30, .segmentSeconds = Seconds(4)};
    }

    explicit SegmentedMP4WriterFixture(const SegmentedMP4Writer::Settings& settings)
        : writer(makeWriter(settings))
    {
    }

    std::unique_ptr<SegmentedMP4Writer> makeWriter(const SegmentedMP4Writer::Settings& settings)
    {
        return std::make_unique<SegmentedMP4Writer>(plan, settings, factory, factory, standardError);
    }

    // The message of what finish() throws; empty when it throws nothing.
    std::string finishError()
    {
        try {
            writer->finish();
        } catch (const std::exception& error) {
            return error.what();
        }
        return {};
    }

    TakeDirectory take;
    OutputPlan plan = OutputPlan::prepare(take.path(), OutputPlan::EarlierTake::kept);
    FakeLineOutput standardError;
    FakeAssetWriterFactory factory;
    std::unique_ptr<SegmentedMP4Writer> writer;
};

} // namespace glimto
