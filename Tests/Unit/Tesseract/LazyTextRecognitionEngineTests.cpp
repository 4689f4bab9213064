#include "Backends/Tesseract/Loader/LazyTextRecognitionEngine.h"

#include <gtest/gtest.h>

#include "Backends/Tesseract/Loader/TextModuleEntry.h"
#include "Support/Errors.h"
#include "Unit/Tesseract/DrawnText.h"

namespace glimto {
namespace {

TEST(LazyTextRecognitionEngineTests, MissingModuleIsNamed)
{
    LoadableModule module(textModuleFileName, {"/nonexistent"}, "Text recognition");
    OnePicturePNGCodec codec(nullptr);
    LazyTextRecognitionEngine engine(module, codec);
    try {
        engine.recognizeText("picture.png");
        FAIL() << "recognized without the module";
    } catch (const PlatformError& error) {
        EXPECT_STREQ(error.what(),
            "Text recognition is not available: glimto-capture-text.so is missing beside the program.");
    }
}

} // namespace
} // namespace glimto
