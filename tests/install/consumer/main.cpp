// Embeds the installed library: validates a document with a rule set in the standard
// profile and prints the version, where the bundled rules are, each error as
// "ID LOCATION" and the verdict.
// Usage: consumer RULES.sch DOCUMENT.xml

#include <quillmark/schematron_validator.h>
#include <quillmark/version.h>

#include <fstream>
#include <iostream>
#include <sstream>

static_assert(QUILLMARK_VERSION_MAJOR >= 1, "the version macros come with the headers");

namespace {

std::string readFile(const char* path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: consumer RULES.sch DOCUMENT.xml\n";
        return 2;
    }
    std::cout << "version " << QUILLMARK_VERSION_STRING << "\n";
    std::cout << "rules " << quillmark::rulesDirectory() << "\n";

    quillmark::QMSchematronValidator validator;
    validator.setSemantics(quillmark::Semantics::Standard);
    quillmark::Error error;
    auto result = validator.validateXMLWithSchemaFile(readFile(argv[2]), argv[1], &error);
    if (!result) {
        std::cout << "not validated: " << error.message() << "\n";
        return 1;
    }
    for (const quillmark::QMValidationError& issue : result->errors) {
        std::cout << issue.assertionId << " " << issue.location << "\n";
    }
    std::cout << (result->valid ? "valid" : "invalid") << "\n";
    return 0;
}
