#include "Backends/Tesseract/Loader/TextModuleEntry.h"
#include "Backends/Tesseract/TesseractTextRecognitionEngine.h"

extern "C" glimto::TextRecognitionEngine* glimtoCaptureMakeTextRecognitionEngine(glimto::PNGCodec* codec)
{
    return new glimto::TesseractTextRecognitionEngine(*codec);
}
