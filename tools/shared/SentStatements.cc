#include "tools/shared/SentStatements.h"

#include <algorithm>
#include <iomanip>
#include <numeric>
#include <ostream>
#include <sstream>

#include "database/StatementObserver.h"
#include "tools/shared/Console.h"
#include "tools/shared/TerminalText.h"

namespace brio::tools {
namespace {

bool isTold = false;
std::vector<SentStatement>* kept = nullptr;

/// "SELECT … WHERE run = $1  ($1 = 13000)"
std::string TextOf(const SentStatement& statement) {
  std::string text;
  for (std::size_t i = 0; i < statement.parameters.size(); ++i) {
    text += (i == 0 ? "  ($" : ", $") + std::to_string(i + 1) + " = " + Visible(statement.parameters[i]);
  }
  return Visible(statement.text) + text + (text.empty() ? "" : ")");
}

std::string RowsOf(const SentStatement& statement) {
  return statement.hasFailed ? "failed" : std::to_string(statement.rows);
}

void Tell(const SentStatement& statement) {
  const std::string rows =
      statement.hasFailed ? "failed" : RowsOf(statement) + (statement.rows == 1 ? " row" : " rows");
  console::Say("statement: " + statement.database + ", " + rows + ", " + Fixed(statement.milliseconds, 1) +
               " ms: " + TextOf(statement));
}

void Take(const dbi::AnsweredStatement& answered) {
  SentStatement statement;
  statement.database = answered.database;
  statement.text = OneLine(answered.statement.text);
  statement.parameters = answered.statement.parameters;
  statement.rows = answered.rows;
  statement.hasFailed = answered.hasFailed;
  statement.milliseconds = std::chrono::duration<double, std::milli>(answered.took).count();
  if (isTold) { Tell(statement); }
  if (kept != nullptr) { kept->push_back(std::move(statement)); }
}

}  // namespace

void TellOfStatements() {
  isTold = true;
  dbi::SetStatementObserver(Take);
}

StatementLog::StatementLog() {
  kept = &statements_;
  dbi::SetStatementObserver(Take);
}

StatementLog::~StatementLog() {
  kept = nullptr;
  if (!isTold) { dbi::SetStatementObserver({}); }
}

void StatementLog::Write(std::ostream& text) const {
  std::size_t width = std::string("database").size();
  long rows = 0;
  double milliseconds = 0;
  for (const auto& statement : statements_) {
    width = std::max(width, statement.database.size());
    rows += statement.rows;
    milliseconds += statement.milliseconds;
  }
  const auto line = [&](const std::string& first, const std::string& second, const std::string& third,
                        const std::string& rest) {
    text << std::setw(9) << first << std::setw(9) << second << "  " << std::left
         << std::setw(static_cast<int>(width)) << third << std::right << "  " << rest << '\n';
  };
  line("rows", "ms", "database", "statement");
  for (const auto& statement : statements_) {
    line(RowsOf(statement), Fixed(statement.milliseconds, 1), statement.database, TextOf(statement));
  }
  line(std::to_string(rows), Fixed(milliseconds, 1), "",
       std::to_string(statements_.size()) + (statements_.size() == 1 ? " statement" : " statements"));
}

Json StatementLog::AsJson() const {
  Json list = Json::array();
  for (const auto& statement : statements_) {
    Json object{{"database", statement.database}};
    object["rows"] = statement.hasFailed ? Json() : Json(statement.rows);
    object["failed"] = statement.hasFailed;
    object["milliseconds"] = statement.milliseconds;
    object["statement"] = statement.text;
    object["parameters"] = statement.parameters;
    list.push_back(std::move(object));
  }
  return list;
}

}  // namespace brio::tools
