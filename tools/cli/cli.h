// The command-line conventions hal_tool and halsim share, so that a new command gets them
// without asking: global options anywhere on the line, --version, the nearest command
// suggested for a typo, one JSON envelope around every result, errors inside it as well as
// on stderr, text tables whose columns have one name across both programs, colour only on
// a terminal. docs/hal_tool.md describes them for users.
#pragma once
#include <CLI/CLI.hpp>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace bayhal::cli {

using json = nlohmann::ordered_json;

// Exit codes of both programs.
constexpr int kOk = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;

// Version of the JSON envelope: the major number changes only when a key is renamed,
// removed or changes type; the minor one when keys are added.
constexpr int kJsonFormatMajor = 1;
constexpr int kJsonFormatMinor = 0;

// A text table for people. Columns are named by result keys; the header comes from the
// shared vocabulary (cli.cpp), so one thing has one name in every command.
struct Table {
  std::vector<std::string> keys;
  std::vector<std::vector<std::string>> rows;
};

// The cell text of a result value: "-" for null, yes/no, numbers as written, lists joined
// with commas.
std::string cell(const json& value);
// A table of `rows` (objects) showing `keys` in that order.
Table table_of(const json& rows, const std::vector<std::string>& keys);
// FIELD/VALUE rows for one object, in its key order.
Table fields_of(const json& object);

// One run of a program: its options, its result and its messages.
class Run {
 public:
  Run(std::string program, std::string version, int argc, char** argv);

  // Adds --json, --color WHEN, --version and lets every subcommand take the program's own
  // options after its name. Call before adding subcommands.
  void add_global_options(CLI::App& app);
  // A subcommand whose callback runs `body`: its command path and result key are recorded
  // so that the envelope names them even when parsing fails.
  CLI::App* add_command(CLI::App* parent, const std::string& name, const std::string& description,
                        const std::string& result_key, std::function<void()> body);
  // An area subcommand ("disk", "enc") holding verbs; created on first use.
  CLI::App* area(CLI::App& app, const std::string& name, const std::string& description);

  // Parses and runs; prints the envelope with --json. Returns the exit code.
  int execute(CLI::App& app);

  bool json_output() const { return json_; }
  int exit_code() const { return exit_code_; }

  // The command's result, under its key in the envelope.
  void set_result(json result) { result_ = std::move(result); }
  // With text output prints `table` (or `text`) now; the result is kept for the envelope.
  void emit(json result, const Table& table);
  void emit(json result, const std::string& text);
  // More for people around the result (a heading, a second table); nothing with --json.
  void show(const Table& table) const;
  void show(const std::string& text) const;
  // An error: one line on stderr ("program: text"), kept in the envelope, exit code set.
  void fail(const std::string& text);
  void usage(const std::string& text);
  void warn(const std::string& text);

  // Bold text when the stream is a terminal (or --color always).
  std::string bold(const std::string& text) const;

 private:
  void message(const char* severity, const std::string& text, int code);
  void print_envelope() const;
  std::string parse_error_text(CLI::App& app, const CLI::ParseError& e) const;

  std::string program_, version_;
  std::vector<std::string> argv_;
  bool json_ = false;
  std::string color_ = "auto";
  bool color_out_ = false, color_err_ = false;
  int exit_code_ = kOk;
  std::string command_;
  std::string result_key_;
  json result_;
  json messages_ = json::array();
  std::map<const CLI::App*, std::pair<std::string, std::string>> commands_;  // path, key
};

// The word of `choices` nearest to `word` by edit distance, if it is near enough to be a
// typo; empty otherwise.
std::string nearest(const std::string& word, const std::vector<std::string>& choices);

}  // namespace bayhal::cli
