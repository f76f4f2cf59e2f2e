#pragma once
// Documents and a small rule set for the viewer's tests, written to a temporary folder.

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <memory>

#include "quillmark/ui/strings.h"

namespace quillmark::viewer::testing {

inline constexpr const char* kOrderRules = R"xml(<schema xmlns="http://purl.oclc.org/dsdl/schematron" queryBinding="xslt2">
  <title>Order rules</title><ns prefix="o" uri="urn:example:order"/>
  <pattern id="order">
    <rule id="order-root" context="/o:Order">
      <assert id="O-01" test="o:ID" flag="fatal">[O-01]-An order must have an identifier.</assert></rule>
    <rule id="order-line" context="o:Line">
      <assert id="O-02" test="o:Amount" flag="fatal">[O-02] - Every line must have an amount.</assert>
      <assert id="O-03" test="not(o:Note)" flag="warning">[O-03]-Line notes are not processed.</assert></rule>
  </pattern>
</schema>
)xml";

// Line 2 lacks its amount: one error at /o:Order[1]/o:Line[2].
inline constexpr const char* kInvalidOrder = R"xml(<?xml version="1.0" encoding="UTF-8"?>
<o:Order xmlns:o="urn:example:order">
  <o:ID>A-1</o:ID>
  <o:Line id="1"><o:Amount>10.00</o:Amount></o:Line>
  <o:Line id="2"><o:Quantity>3</o:Quantity></o:Line>
</o:Order>
)xml";

inline constexpr const char* kValidOrder = R"xml(<?xml version="1.0" encoding="UTF-8"?>
<o:Order xmlns:o="urn:example:order">
  <o:ID>A-2</o:ID>
  <o:Line id="1"><o:Amount>10.00</o:Amount></o:Line>
</o:Order>
)xml";

inline constexpr const char* kUnknownDocument = R"xml(<?xml version="1.0" encoding="UTF-8"?>
<Catalogue xmlns="urn:example:catalogue"><Item/></Catalogue>
)xml";

// A temporary folder with the rule set in rules/ and the documents beside it, and a
// settings file of its own.
class TestFiles {
public:
    TestFiles() {
        QDir(dir.path()).mkdir("rules");
        write("rules/order.sch", kOrderRules);
        write("invalid-order.xml", kInvalidOrder);
        write("valid-order.xml", kValidOrder);
        write("catalogue.xml", kUnknownDocument);
        settings = std::make_unique<QSettings>(path("settings.ini"), QSettings::IniFormat);
    }
    QString path(const QString& name) const { return QDir(dir.path()).filePath(name); }
    QString rules() const { return path("rules"); }
    void write(const QString& name, const char* content) const {
        QFile file(path(name));
        if (file.open(QIODevice::WriteOnly)) file.write(content);
    }

    QTemporaryDir dir;
    std::unique_ptr<QSettings> settings;
};

// Pins the string table to English for one test.
class EnglishTexts {
public:
    EnglishTexts() { ui::setLanguageOverride(ui::Language::English); }
    ~EnglishTexts() { ui::setLanguageOverride(std::nullopt); }
};

}  // namespace quillmark::viewer::testing
