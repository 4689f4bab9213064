#include "Support/ModuleTable.h"
#include "Unit/Support/Modules/Greeter.h"

namespace glimto {
namespace {

class NamedGreeter final : public Greeter {
public:
    explicit NamedGreeter(const std::string& name)
        : name_(name)
    {
    }

    std::string greeting() override { return "Hello " + name_; }
    ProcessWide* processWideOfTheModule() override { return &processWide(); }

private:
    const std::string& name_;
};

} // namespace
} // namespace glimto

extern "C" [[gnu::visibility("default")]] const glimto::ModuleTable* glimtoCaptureModule()
{
    using namespace glimto;
    static const ModuleTable table = [] {
        ModuleTable made = *moduleTable<Provided<Greeter, NamedGreeter, const std::string>>();
#ifdef GLIMTO_OTHER_VERSION
        made.interfaceVersion = "0.0.0-other";
#endif
        return made;
    }();
    return &table;
}
