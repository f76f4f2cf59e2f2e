// Fuzz target: loading an XSD file. The input is the schema's text; it is written to a
// file of this process (schemas are read from files, with their includes), compiled,
// and when it compiles the small invoice is validated with it.

#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "fuzz_support.h"
#include "quillmark/xsd_validation.h"

using namespace quillmark;

namespace {

const std::string& schemaPath() {
    static const std::string path = [] {
        const auto directory =
            std::filesystem::temp_directory_path() / ("quillmark-fuzz-xsd-" + std::to_string(getpid()));
        std::filesystem::create_directories(directory);
        return (directory / "schema.xsd").string();
    }();
    return path;
}

void removeSchemaDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(std::filesystem::path(schemaPath()).parent_path(), ignored);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::prepareProcess();
    schemaPath();
    std::atexit(removeSchemaDirectory);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::ofstream(schemaPath(), std::ios::binary | std::ios::trunc).write(reinterpret_cast<const char*>(data),
                                                                         static_cast<std::streamsize>(size));
    Error error;
    const std::shared_ptr<const CompiledXSD> schema = CompiledXSD::load(schemaPath(), &error);
    if (!schema) return 0;
    schema->validate(fuzz::smallInvoice(), &error);
    return 0;
}
