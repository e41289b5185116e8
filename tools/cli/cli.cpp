#include "tools/cli/cli.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>

namespace bayhal::cli {
namespace {

// Column headers that are not simply the key in capitals: the shared vocabulary.
constexpr std::pair<const char*, const char*> kHeaders[] = {
    {"enc_id", "ENC"},     {"enc_sys_id", "IDENTITY"}, {"port_id", "PORT"},
    {"pd_sys_id", "DISK"}, {"link_speed", "LINK"},
};

std::string header(const std::string& key) {
  for (auto [k, h] : kHeaders)
    if (key == k) return h;
  std::string out = key;
  for (char& c : out) c = c == '_' ? ' ' : static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return out;
}

bool terminal_wants_color(int fd) {
  const char* term = std::getenv("TERM");
  return ::isatty(fd) == 1 && std::getenv("NO_COLOR") == nullptr &&
         !(term != nullptr && std::string(term) == "dumb");
}

void print_table(const Table& t, bool bold_header) {
  std::vector<std::string> headers;
  for (const std::string& k : t.keys) headers.push_back(header(k));
  std::vector<size_t> width(headers.size());
  for (size_t i = 0; i < headers.size(); ++i) width[i] = headers[i].size();
  for (const auto& row : t.rows)
    for (size_t i = 0; i < row.size() && i < width.size(); ++i) width[i] = std::max(width[i], row[i].size());
  auto line = [&](const std::vector<std::string>& cells) {
    std::string out;
    for (size_t i = 0; i < width.size(); ++i) {
      std::string c = i < cells.size() ? cells[i] : "";
      if (i + 1 < width.size()) c.resize(width[i] + 2, ' ');
      out += c;
    }
    while (!out.empty() && out.back() == ' ') out.pop_back();
    return out;
  };
  std::string head = line(headers);
  std::cout << (bold_header ? "\033[1m" + head + "\033[0m" : head) << '\n';
  for (const auto& row : t.rows) std::cout << line(row) << '\n';
}

// Edits between two words, a swap of neighbours counting as one: the usual typos.
size_t edit_distance(const std::string& a, const std::string& b) {
  std::vector<std::vector<size_t>> d(a.size() + 1, std::vector<size_t>(b.size() + 1));
  for (size_t i = 0; i <= a.size(); ++i) d[i][0] = i;
  for (size_t j = 0; j <= b.size(); ++j) d[0][j] = j;
  for (size_t i = 1; i <= a.size(); ++i)
    for (size_t j = 1; j <= b.size(); ++j) {
      d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
    }
  return d[a.size()][b.size()];
}

CLI::App* deepest_parsed(CLI::App& app) {
  CLI::App* at = &app;
  for (bool descended = true; descended;) {
    descended = false;
    for (CLI::App* sub : at->get_subcommands())
      if (sub->parsed()) {
        at = sub;
        descended = true;
        break;
      }
  }
  return at;
}

std::vector<std::string> subcommand_names(CLI::App* app) {
  std::vector<std::string> out;
  for (CLI::App* s : app->get_subcommands([](CLI::App*) { return true; })) out.push_back(s->get_name());
  return out;
}

std::vector<std::string> option_names(CLI::App* app) {
  std::vector<std::string> out;
  for (CLI::App* a = app; a != nullptr; a = a->get_parent())
    for (const CLI::Option* o : a->get_options())
      for (const std::string& n : o->get_lnames()) out.push_back("--" + n);
  return out;
}

std::string first_line(const std::string& text) {
  std::string line = text.substr(0, text.find('\n'));
  return line.empty() ? "bad usage" : line;
}

}  // namespace

std::string cell(const json& v) {
  if (v.is_null()) return "-";
  if (v.is_string()) return v.get<std::string>();
  if (v.is_boolean()) return v.get<bool>() ? "yes" : "no";
  if (v.is_array()) {
    std::string out;
    for (const json& e : v) out += (out.empty() ? "" : ",") + cell(e);
    return out.empty() ? "-" : out;
  }
  return v.dump();
}

Table table_of(const json& rows, const std::vector<std::string>& keys) {
  Table t{keys, {}};
  for (const json& r : rows) {
    std::vector<std::string> cells;
    for (const std::string& k : keys) cells.push_back(r.contains(k) ? cell(r[k]) : "-");
    t.rows.push_back(std::move(cells));
  }
  return t;
}

Table fields_of(const json& object) {
  Table t{{"field", "value"}, {}};
  for (const auto& [k, v] : object.items()) t.rows.push_back({k, cell(v)});
  return t;
}

std::string nearest(const std::string& word, const std::vector<std::string>& choices) {
  std::string best;
  size_t best_d = std::max<size_t>(2, word.size() / 3) + 1;
  for (const std::string& c : choices) {
    size_t d = edit_distance(word, c);
    if (d < best_d) best = c, best_d = d;
  }
  return best;
}

Run::Run(std::string program, std::string version, int argc, char** argv)
    : program_(std::move(program)), version_(std::move(version)), argv_(argv, argv + argc) {
  // Known before parsing, so that a usage error is reported the way the caller asked.
  for (size_t i = 1; i < argv_.size() && argv_[i] != "--"; ++i) {
    if (argv_[i] == "--json") json_ = true;
    if (argv_[i].rfind("--color=", 0) == 0) color_ = argv_[i].substr(8);
    if (argv_[i] == "--color" && i + 1 < argv_.size()) color_ = argv_[i + 1];
  }
  color_out_ = color_ == "always" || (color_ == "auto" && terminal_wants_color(1));
  color_err_ = color_ == "always" || (color_ == "auto" && terminal_wants_color(2));
}

void Run::add_global_options(CLI::App& app) {
  app.name(program_);
  app.fallthrough();
  app.add_flag("--json", json_, "print one JSON document (docs/hal_tool.md, \"JSON output\")");
  app.add_option("--color", color_, "colour: auto (on a terminal), always or never")
      ->check(CLI::IsMember({"auto", "always", "never"}))
      ->type_name("WHEN");
  app.set_version_flag("--version", program_ + " " + version_);
}

CLI::App* Run::area(CLI::App& app, const std::string& name, const std::string& description) {
  for (CLI::App* sub : app.get_subcommands([](CLI::App*) { return true; }))
    if (sub->get_name() == name) return sub;
  CLI::App* sub = app.add_subcommand(name, description);
  sub->require_subcommand(1);
  commands_[sub] = {name, ""};
  return sub;
}

CLI::App* Run::add_command(CLI::App* parent, const std::string& name, const std::string& description,
                           const std::string& result_key, std::function<void()> body) {
  CLI::App* cmd = parent->add_subcommand(name, description);
  auto up = commands_.find(parent);
  std::string path = up == commands_.end() ? name : up->second.first + " " + name;
  commands_[cmd] = {path, result_key};
  cmd->callback([this, cmd, path, result_key, body = std::move(body)] {
    // A command with verbs of its own ("fan" and "fan set") runs only when none was given.
    if (!cmd->get_subcommands().empty()) return;
    command_ = path;
    result_key_ = result_key;
    body();
  });
  return cmd;
}

int Run::execute(CLI::App& app) {
  try {
    std::vector<std::string> args(argv_.rbegin(), argv_.rend() - 1);
    app.parse(args);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForVersion& e) {
    return app.exit(e);
  } catch (const CLI::RuntimeError&) {
    // Thrown by a callback that has already reported why it stopped the run.
  } catch (const CLI::ParseError& e) {
    if (auto known = commands_.find(deepest_parsed(app)); known != commands_.end())
      command_ = known->second.first, result_key_ = known->second.second;
    usage(parse_error_text(app, e) + " (see " + program_ + " --help)");
  } catch (const std::exception& e) {
    fail("internal error: " + first_line(e.what()));
  }
  if (json_) print_envelope();
  return exit_code_;
}

std::string Run::parse_error_text(CLI::App& app, const CLI::ParseError& e) const {
  CLI::App* at = deepest_parsed(app);
  // With options allowed after the command, what it could not use falls through upwards.
  std::vector<std::string> rest;
  for (CLI::App* a = at; a != nullptr && rest.empty(); a = a->get_parent()) rest = a->remaining();
  if (rest.empty()) return first_line(e.what());
  const std::string& word = rest.front();
  std::string where = at == &app ? "" : " for '" + commands_.at(at).first + "'";
  std::string guess;
  std::string text;
  if (word.rfind("-", 0) == 0) {
    guess = nearest(word.substr(0, word.find('=')), option_names(at));
    text = "unknown option '" + word + "'" + where;
  } else if (!at->get_subcommands([](CLI::App*) { return true; }).empty()) {
    guess = nearest(word, subcommand_names(at));
    text = "unknown command '" + word + "'" + where;
  } else {
    text = "unexpected argument '" + word + "'" + where;
  }
  return guess.empty() ? text : text + "; did you mean '" + guess + "'?";
}

void Run::emit(json result, const Table& table) {
  result_ = std::move(result);
  show(table);
}

void Run::emit(json result, const std::string& text) {
  result_ = std::move(result);
  show(text);
}

void Run::show(const Table& table) const {
  if (!json_) print_table(table, color_out_);
}

void Run::show(const std::string& text) const {
  if (!json_) std::cout << text << '\n';
}

void Run::message(const char* severity, const std::string& text, int code) {
  std::string prefix = program_ + ":";
  if (color_err_) prefix = (code == kOk ? "\033[1;33m" : "\033[1;31m") + prefix + "\033[0m";
  std::cerr << prefix << ' ' << text << '\n';
  messages_.push_back({{"severity", severity}, {"text", text}});
  if (code != kOk && exit_code_ != kUsage) exit_code_ = code;
}

void Run::fail(const std::string& text) { message("error", text, kFailed); }
void Run::usage(const std::string& text) { message("error", text, kUsage); }
void Run::warn(const std::string& text) { message("warning", text, kOk); }

std::string Run::bold(const std::string& text) const {
  return color_out_ ? "\033[1m" + text + "\033[0m" : text;
}

void Run::print_envelope() const {
  json doc{{"json_format_version", {kJsonFormatMajor, kJsonFormatMinor}},
           {program_,
            {{"version", version_},
             {"argv", argv_},
             {"command", command_.empty() ? json() : json(command_)},
             {"exit_status", exit_code_},
             {"messages", messages_}}}};
  if (!result_key_.empty()) doc[result_key_] = result_;
  std::cout << doc.dump(2, ' ', false, json::error_handler_t::replace) << '\n';
}

}  // namespace bayhal::cli
