// How a page's template is filled.
#include <gtest/gtest.h>

#include <stdexcept>

#include "tools/report/PageFiles.h"
#include "tools/report/Template.h"

namespace brio::tools {
namespace {

TEST(ReportTemplate, EscapesWhatIsFilledIn) {
  EXPECT_EQ(Filled("<p title=\"{{a}}\">{{a}}</p>", {{"a", "<b>\"'&"}}),
            "<p title=\"&lt;b&gt;&quot;&#39;&amp;\">&lt;b&gt;&quot;&#39;&amp;</p>");
  EXPECT_EQ(Filled("{{a}}", {{"a", "line\nend\x1b"}}), "line\\nend\\x1b");
  EXPECT_EQ(Filled("{{a}} {{b}}", {{"a", 3}, {"b", 0.5}}), "3 0.5");
}

TEST(ReportTemplate, LeavesWhatItIsToldTo) { EXPECT_EQ(Filled("{{{a}}}", {{"a", "<b>"}}), "<b>"); }

TEST(ReportTemplate, DoesNotReadWhatItFilledIn) {
  EXPECT_EQ(Filled("{{a}}{{{a}}}", {{"a", "{{b}}"}, {"b", "no"}}), "{{b}}{{b}}");
}

TEST(ReportTemplate, RepeatsASectionForEachElement) {
  const Json members{{"name", "out"}, {"list", {{{"name", "x"}}, Json::object(), {{"name", "z"}}}}};
  EXPECT_EQ(Filled("{{#list}}[{{name}}]{{/list}}", members), "[x][out][z]");
  EXPECT_EQ(Filled("{{#list}}{{.}},{{/list}}", {{"list", {1, 2}}}), "1,2,");
}

TEST(ReportTemplate, LeavesSectionsOutOfWhatIsNotThere) {
  for (const Json& nothing : {Json(), Json(false), Json(""), Json::array(), Json::object()}) {
    EXPECT_EQ(Filled("a{{#x}}b{{/x}}{{^x}}c{{/x}}", {{"x", nothing}}), "ac") << nothing;
  }
  EXPECT_EQ(Filled("a{{#x}}b{{y}}{{/x}}{{^x}}c{{/x}}", Json::object()), "ac");
  for (const Json& something : {Json(true), Json("x"), Json(0), Json{1}}) {
    EXPECT_EQ(Filled("a{{#x}}b{{/x}}{{^x}}c{{/x}}", {{"x", something}}), "ab") << something;
  }
}

TEST(ReportTemplate, TakesSectionsOfTheSameNameInside) {
  const Json members{{"a", {{{"a", {1, 2}}}, {{"a", {3}}}}}};
  EXPECT_EQ(Filled("{{#a}}<{{#a}}{{.}}{{/a}}>{{/a}}", members), "<12><3>");
}

TEST(ReportTemplate, TakesTheLineOfATagThatIsAloneOnIt) {
  EXPECT_EQ(Filled("x\n  {{#a}}\n{{.}}\n{{/a}}\ny\n", {{"a", {1, 2}}}), "x\n1\n2\ny\n");
}

TEST(ReportTemplate, RefusesWhatItCannotFill) {
  EXPECT_THROW(Filled("{{b}}", {{"a", 1}}), std::logic_error);
  EXPECT_THROW(Filled("{{#a}}", {{"a", 1}}), std::logic_error);
  EXPECT_THROW(Filled("{{/a}}", {{"a", 1}}), std::logic_error);
  EXPECT_THROW(Filled("{{#a}}{{/b}}", {{"a", 1}}), std::logic_error);
  EXPECT_THROW(Filled("{{a", {{"a", 1}}), std::logic_error);
}

TEST(PageFiles, WriteTheirHashAsAPolicyHasIt) {
  // Of an empty text, as everybody has it.
  const EmbeddedFile empty{"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855", ""};
  EXPECT_EQ(PolicyHash(empty), "'sha256-47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU='");
}

}  // namespace
}  // namespace brio::tools
