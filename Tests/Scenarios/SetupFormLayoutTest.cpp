// The installed setup form set read back as the browser reads it: a small
// IFR walker of its own checks every question's identifier, form, storage,
// width, flags and enclosing conditions against the layout the pages rely on,
// and the string packages' languages and texts.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>
#include <sstream>

#include "SetupBoot.hpp"

namespace carvex::test {
namespace {

struct Question {
  std::uint8_t op = 0;
  std::uint16_t form = 0, prompt = 0, help = 0, store = 0, offset = 0;
  std::uint8_t flags = 0;
  unsigned width = 0;  // bytes of storage
  std::vector<std::string> conditions;  // outermost first
  std::vector<std::string> defaults;    // "store:value" or "store:expr"
  std::uint16_t target = 0;             // goto: form
};

struct Walk {
  std::vector<std::uint16_t> forms;
  std::map<std::uint16_t, std::vector<std::uint16_t>> labels;
  std::map<std::uint16_t, Question> questions;
  std::vector<std::tuple<std::uint16_t, std::string, std::uint16_t, std::uint32_t>> stores;  // id, name, size, attributes
  std::vector<std::uint8_t> formSet;
  std::vector<std::uint16_t> duplicates;
};

std::uint16_t U16(const std::uint8_t* p) { return static_cast<std::uint16_t>(p[0] | p[1] << 8); }
std::uint64_t Le(const std::uint8_t* p, unsigned n) {
  std::uint64_t v = 0;
  for (unsigned i = n; i-- > 0;) v = v << 8 | p[i];
  return v;
}
std::string Q(std::uint16_t id) {
  char text[8];
  std::snprintf(text, sizeof text, "q%04x", id);
  return text;
}

// Renders the postfix expression starting at `at`; returns the offset after
// it (and after its closing END when it has its own scope).
std::size_t Expression(const std::vector<std::uint8_t>& ifr, std::size_t at, std::string& out) {
  const bool scoped = ifr[at + 1] & 0x80;
  std::ostringstream text;
  int depth = 0;
  do {
    const std::uint8_t op = ifr[at];
    const std::uint8_t length = ifr[at + 1] & 0x7F;
    const std::uint8_t* p = &ifr[at];
    if (op == 0x29) {
      --depth;
    } else {
      if (!text.str().empty()) text << ' ';
      switch (op) {
        case 0x12: text << Q(U16(p + 2)) << "==" << U16(p + 4); break;
        case 0x14: {
          text << Q(U16(p + 2)) << " in";
          for (unsigned i = 0; i < U16(p + 4); ++i) text << ' ' << U16(p + 6 + 2 * i);
          break;
        }
        case 0x40: text << "ref(" << Q(U16(p + 2)) << ")"; break;
        case 0x42: case 0x43: case 0x44: case 0x45: text << Le(p + 2, length - 2); break;
        case 0x15: text << "and"; break;
        case 0x16: text << "or"; break;
        case 0x17: text << "not"; break;
        case 0x33: text << "<"; break;
        case 0x46: text << "true"; break;
        case 0x50: text << "cond"; break;
        default: text << "op" << int(op); break;
      }
      if (ifr[at + 1] & 0x80) ++depth;
    }
    at += length;
  } while (scoped && depth > 0);
  out = text.str();
  return at;
}

Walk Read(const std::vector<std::uint8_t>& package) {
  Walk walk;
  const std::vector<std::uint8_t> ifr(package.begin() + 4, package.end());
  // Scope stack: for each open scope, the condition it adds (empty if none).
  std::vector<std::string> scopes;
  std::uint16_t form = 0;
  Question* open = nullptr;  // the question whose scope holds defaults
  std::size_t openDepth = 0;
  for (std::size_t at = 0; at < ifr.size();) {
    const std::uint8_t op = ifr[at];
    const std::uint8_t length = ifr[at + 1] & 0x7F;
    const bool scope = ifr[at + 1] & 0x80;
    const std::uint8_t* p = &ifr[at];
    if (length == 0) break;
    if (op == 0x29) {
      scopes.pop_back();
      if (open != nullptr && scopes.size() < openDepth) open = nullptr;
      at += length;
      continue;
    }
    if (op == 0x0A || op == 0x19 || op == 0x1E) {
      std::string expr;
      const std::size_t next = Expression(ifr, at + length, expr);
      scopes.push_back(std::string(op == 0x0A ? "suppress:" : op == 0x19 ? "grayout:" : "disable:") + expr);
      at = next;
      continue;
    }
    if (op == 0x5B && scope) {  // default with an expression: VALUE, expression, END, then END
      std::string expr;
      const std::size_t value = at + length;  // VALUE opcode
      std::size_t next = Expression(ifr, value + (ifr[value + 1] & 0x7F), expr);
      if (open) open->defaults.push_back(std::to_string(U16(p + 2)) + ":" + expr);
      at = next + 2 + 2;  // END of VALUE, END of DEFAULT
      continue;
    }
    if (op == 0x5B && open) {
      open->defaults.push_back(std::to_string(U16(p + 2)) + ":" + std::to_string(Le(p + 5, length - 5)));
    }
    if (op == 0x09 && open && (p[4] & 0x30)) {
      if (p[4] & 0x10) open->defaults.push_back("0:" + std::to_string(Le(p + 6, length - 6)));
      if (p[4] & 0x20) open->defaults.push_back("1:" + std::to_string(Le(p + 6, length - 6)));
    }
    if (op == 0x0E) walk.formSet.assign(p, p + length);
    if (op == 0x24) walk.stores.emplace_back(U16(p + 18), std::string(reinterpret_cast<const char*>(p + 22)), U16(p + 20), 0);
    if (op == 0x26) walk.stores.emplace_back(U16(p + 2), std::string(reinterpret_cast<const char*>(p + 26)), U16(p + 24), Le(p + 20, 4));
    if (op == 0x01) {
      form = U16(p + 2);
      walk.forms.push_back(form);
    }
    if (op == 0x5F && p[18] == 0) walk.labels[form].push_back(U16(p + 19));
    const std::set<std::uint8_t> questionOps = {0x05, 0x06, 0x07, 0x08, 0x0C, 0x0F, 0x1C};
    if (questionOps.count(op)) {
      Question q;
      q.op = op;
      q.form = form;
      q.prompt = U16(p + 2);
      q.help = U16(p + 4);
      q.store = U16(p + 8);
      q.offset = U16(p + 10);
      q.flags = p[12];
      if (op == 0x05 || op == 0x07) q.width = 1u << (p[13] & 3);
      if (op == 0x06) q.width = 1;
      if (op == 0x1C) q.width = 2u * p[14];
      if (op == 0x08) q.width = 2u * U16(p + 15);
      if (op == 0x0F) q.target = U16(p + 13);
      if (op == 0x1C) q.defaults.push_back("len:" + std::to_string(p[13]) + ".." + std::to_string(p[14]));
      if (op == 0x08) q.defaults.push_back("len:" + std::to_string(U16(p + 13)) + ".." + std::to_string(U16(p + 15)));
      if (op == 0x05 || op == 0x07) {
        const unsigned w = q.width;
        q.defaults.push_back("range:" + std::to_string(Le(p + 14, w)) + ".." + std::to_string(Le(p + 14 + w, w)));
      }
      for (const auto& s : scopes) {
        if (!s.empty()) q.conditions.push_back(s);
      }
      const std::uint16_t id = U16(p + 6);
      if (walk.questions.count(id)) walk.duplicates.push_back(id);
      walk.questions[id] = q;
      if (scope) {
        open = &walk.questions[id];
        openDepth = scopes.size() + 1;
      }
    }
    if (scope) scopes.push_back("");
    at += length;
  }
  return walk;
}

// ---------------------------------------------------------------------------
// The expected layout.

constexpr std::uint8_t kRO = 0x01, kCB = 0x04, kRR = 0x10;
enum : std::uint8_t { OneOf = 0x05, CheckBox = 0x06, Numeric = 0x07, Password = 0x08, Action = 0x0C, Goto = 0x0F, String = 0x1C };

struct Expect {
  std::uint16_t id;
  std::uint8_t op;
  std::uint16_t form, prompt, store, offset;
  unsigned width;
  std::uint8_t flags;
  std::vector<std::string> conditions;
  std::vector<std::string> defaults;  // lengths/ranges first, then defaults
  std::uint16_t target = 0;
};

std::vector<Expect> Layout() {
  std::vector<Expect> e;
  const std::string noModules = "suppress:q0001==0";
  // Summary page.
  e.push_back({0x0001, Numeric, 0x01, 0x0004, 1, 0x000, 4, kRO, {}, {"range:0..255"}});
  for (int n = 0; n < 6; ++n) {
    e.push_back({std::uint16_t(0x0002 + n), String, 0x01, std::uint16_t(0x0006 + 2 * n), 1, std::uint16_t(0x004 + 0x26 * n), 38, kRO, {noModules}, {"len:0..19"}});
  }
  e.push_back({0x0008, Goto, 0x01, 0x0013, 0, 0xFFFF, 0, kCB, {}, {}, 0x0002});
  e.push_back({0x0009, Goto, 0x01, 0x0039, 0, 0xFFFF, 0, kCB, {}, {}, 0x0004});
  e.push_back({0x0010, Goto, 0x01, 0x0076, 0, 0xFFFF, 0, kCB, {}, {}, 0x0006});
  e.push_back({0x0011, Goto, 0x01, 0x008A, 0, 0xFFFF, 0, 0, {"grayout:q0073==0"}, {}, 0x0008});
  e.push_back({0x7000, Goto, 0x01, 0x00B8, 0, 0xFFFF, 0, kCB, {}, {}, 0x000C});
  e.push_back({0x8000, Goto, 0x01, 0x0148, 0, 0xFFFF, 0, kCB, {}, {}, 0x000D});
  // DCPMM Configuration.
  e.push_back({0x0019, Numeric, 0x0D, 0x014A, 7, 0, 1, kRO, {}, {"range:2..99", "0:10"}});
  e.push_back({0x0020, Numeric, 0x0D, 0x014C, 7, 1, 1, kCB, {}, {"range:2..99", "0:10"}});
  e.push_back({0x8001, OneOf, 0x0D, 0x0150, 1, 0x1ED, 1, kRR, {}, {"range:0..2", "0:2", "1:2"}});
  // Processor pages: six module blocks.
  for (int k = 0; k < 6; ++k) {
    const std::string shown = "suppress:ref(q0072) " + std::to_string(k + 1) + " <";
    const std::uint16_t b = std::uint16_t(525 * k);
    const auto text = [&](std::uint16_t id, std::uint16_t prompt, std::uint16_t off) {
      e.push_back({id, String, 0x03, prompt, 2, std::uint16_t(b + off), 38, kRO, {shown}, {"len:0..19"}});
    };
    text(std::uint16_t(0x1010 + k), 0x0018, 256);
    e.push_back({std::uint16_t(0x1100 + k), OneOf, 0x03, 0x0026, 2, std::uint16_t(b + 523), 1, kRO | kRR, {shown}, {"range:0..1", "0:0"}});
    text(std::uint16_t(0x1020 + k), 0x001A, 294);
    text(std::uint16_t(0x1040 + k), 0x001C, 332);
    text(std::uint16_t(0x1030 + k), 0x001E, 370);
    text(std::uint16_t(0x1050 + k), 0x0020, 408);
    text(std::uint16_t(0x1060 + k), 0x0022, 446);
    text(std::uint16_t(0x1070 + k), 0x0024, 484);
    e.push_back({std::uint16_t(0x1080 + k), Numeric, 0x03, 0x0028, 2, std::uint16_t(b + 522), 1, kRO, {shown}, {"range:0..255", "0:0"}});
    e.push_back({std::uint16_t(0x1200 + k), OneOf, 0x03, 0x002A, 2, std::uint16_t(b + 524), 1, kRO, {shown}, {"range:0..4"}});
  }
  // Goals.
  e.push_back({0x000A, OneOf, 0x04, 0x003D, 1, 0x0FC, 1, kRR, {}, {"range:0..2", "0:0"}});
  for (int s = 0; s < 8; ++s) {
    e.push_back({std::uint16_t(0x2000 + s), CheckBox, 0x04, std::uint16_t(0x0043 + s), 1, std::uint16_t(0x0FD + s), 1, kCB,
                 {"suppress:q000a==0", "suppress:" + Q(0x005E - s) + "==0", "suppress:q000a==2 " + Q(0x0071 - s) + "==0 and"},
                 {"0:0"}});
  }
  e.push_back({0x000B, Numeric, 0x04, 0x004D, 1, 0x10D, 1, kRR, {"grayout:q0069==1 q0068==1 and not"},
               {"range:0..100", "0:q0069==0 q0068==1 and 100 0 cond"}});
  e.push_back({0x000C, OneOf, 0x04, 0x004F, 1, 0x10E, 1, kRR, {"grayout:q000b==100"}, {"range:1..2", "0:1"}});
  e.push_back({0x000D, Action, 0x04, 0x0053, 0, 0xFFFF, 0, kCB | kRR, {}, {}});
  const std::string goals = "suppress:q0067==0";
  for (int p = 0; p < 8; ++p) {
    e.push_back({std::uint16_t(0x2040 + p), Goto, 0x04, std::uint16_t(0x0056 + p), 0, 0xFFFF, 0, kCB, {goals, "suppress:" + Q(0x0066 - p) + "==0"}, {}, 0x0005});
  }
  e.push_back({0x000E, OneOf, 0x04, 0x003D, 1, 0x10F, 1, kRR, {goals}, {"range:0..1", "0:0"}});
  for (int p = 0; p < 8; ++p) {
    e.push_back({std::uint16_t(0x2010 + p), CheckBox, 0x04, std::uint16_t(0x0043 + p), 1, std::uint16_t(0x110 + p), 1, 0,
                 {goals, "suppress:q000e==0", "suppress:" + Q(0x005E - p) + "==0"}, {"0:0"}});
  }
  e.push_back({0x000F, Action, 0x04, 0x0072, 0, 0xFFFF, 0, kCB, {goals}, {}});
  // Pending goal blocks.
  for (int k = 0; k < 6; ++k) {
    const std::string shown = "suppress:ref(q0056) " + std::to_string(k + 1) + " <";
    const std::uint16_t b = std::uint16_t(0x00A + 370 * k);
    e.push_back({std::uint16_t(0x2026 + k), String, 0x05, 0x0066, 4, std::uint16_t(b + 256), 38, kRO, {shown}, {"len:0..19"}});
    e.push_back({std::uint16_t(0x202C + k), String, 0x05, 0x0068, 4, std::uint16_t(b + 294), 38, kRO, {shown}, {"len:0..19"}});
    e.push_back({std::uint16_t(0x2032 + k), String, 0x05, 0x006A, 4, std::uint16_t(b + 332), 38, kRO, {shown}, {"len:0..19"}});
  }
  // Region details.
  const std::tuple<std::uint16_t, std::uint16_t, std::uint16_t, unsigned> regions[] = {
      {0x4000, 0x007C, 0x000, 7}, {0x4001, 0x007E, 0x00E, 20}, {0x4002, 0x0080, 0x082, 50}, {0x4003, 0x0082, 0x036, 19},
      {0x4004, 0x0084, 0x05C, 19}, {0x4005, 0x0086, 0x0E6, 19}, {0x4006, 0x0088, 0x10C, 19}};
  for (const auto& [id, prompt, off, len] : regions) {
    e.push_back({id, String, 0x07, prompt, 3, off, 2 * len, kRO, {}, {"len:0.." + std::to_string(len)}});
  }
  // Namespaces.
  e.push_back({0x0018, Goto, 0x08, 0x008D, 0, 0xFFFF, 0, kCB, {}, {}, 0x000B});
  e.push_back({0x0012, Goto, 0x08, 0x008C, 0, 0xFFFF, 0, kCB, {}, {}, 0x0009});
  e.push_back({0x0013, String, 0x09, 0x0097, 1, 0x118, 128, 0, {}, {"len:1..64"}});
  e.push_back({0x0015, OneOf, 0x09, 0x00A4, 1, 0x19C, 1, 0, {}, {"range:2..6", "0:6"}});
  e.push_back({0x0016, String, 0x09, 0x00A9, 1, 0x19D, 78, kCB, {}, {"len:1..39"}});
  e.push_back({0x0017, Action, 0x09, 0x00AB, 0, 0xFFFF, 0, kCB, {}, {}});
  const std::tuple<std::uint16_t, std::uint16_t, std::uint16_t, unsigned> details[] = {
      {0x6000, 0x0091, 0x000, 7}, {0x6001, 0x0093, 0x00E, 36}, {0x6002, 0x0097, 0x056, 64}, {0x6003, 0x0099, 0x0D6, 19},
      {0x6005, 0x0095, 0x0FC, 7}};
  for (const auto& [id, prompt, off, len] : details) {
    e.push_back({id, String, 0x0A, prompt, 5, off, 2 * len, kRO, {}, {"len:0.." + std::to_string(len)}});
  }
  e.push_back({0x6004, OneOf, 0x0A, 0x009B, 5, 0x10A, 2, kRO, {}, {"range:0..4"}});
  e.push_back({0x6008, String, 0x0A, 0x009D, 5, 0x10C, 128, 0, {}, {"len:0..64"}});
  e.push_back({0x6009, Action, 0x0A, 0x00AD, 0, 0xFFFF, 0, kCB, {}, {}});
  e.push_back({0x6007, Goto, 0x0A, 0x00AE, 0, 0xFFFF, 0, kCB, {}, {}, 0x000B});
  // Security.
  e.push_back({0x7001, OneOf, 0x0C, 0x00BB, 6, 0x0000, 1, 0, {}, {"range:0..1", "0:0"}});
  const std::string platform = "suppress:q7001==1 q0054==9 or";
  const auto password = [&](std::uint16_t id, std::uint16_t prompt, std::vector<std::string> conditions) {
    e.push_back({id, Password, 0x0C, prompt, 6, 0x0001, 64, kCB, conditions, {"len:1..32"}});
  };
  password(0x7002, 0x00BF, {platform, "suppress:q0054==1 not"});
  e.push_back({0x700B, Action, 0x0C, 0x00C3, 0, 0xFFFF, 0, kCB, {platform, "suppress:q0054==1 not"}, {}});
  password(0x7003, 0x00CD, {platform, "suppress:q0054 in 2 3 not"});
  password(0x7004, 0x00C1, {platform, "suppress:q0054 in 2 3 not"});
  password(0x7005, 0x00C3, {platform, "suppress:q0054 in 2 3 not"});
  const std::string single = "suppress:q7001==1 not";
  const std::uint16_t socketQ[8] = {0x0053, 0x004C, 0x0045, 0x003E, 0x0037, 0x0030, 0x0029, 0x0022};
  std::map<int, std::uint16_t> slotQ;  // check-box index: hidden question
  const std::uint16_t proc8[6] = {0x001B, 0x001C, 0x001D, 0x001E, 0x001F, 0x0021};
  for (int i = 0; i < 6; ++i) slotQ[47 - i] = proc8[i];
  const std::uint16_t runs[7] = {0x004D, 0x0046, 0x003F, 0x0038, 0x0031, 0x002A, 0x0023};  // processors 1..7
  for (int p = 0; p < 7; ++p) {
    for (int i = 0; i < 6; ++i) slotQ[p * 6 + 5 - i] = std::uint16_t(runs[p] + i);
  }
  for (int j = 0; j < 48; ++j) {
    e.push_back({std::uint16_t(0x7E01 + j), CheckBox, 0x0C, std::uint16_t(0x00E8 + j), 6, std::uint16_t(0x3165 + j), 1, kCB,
                 {single, "suppress:" + Q(socketQ[j / 6]) + "==0", "suppress:" + Q(slotQ[j]) + "==0"}, {"0:0"}});
  }
  const std::string selected = "suppress:q0014==9 q001a==0 or";
  password(0x7006, 0x00BF, {single, selected, "suppress:q0014==1 not"});
  e.push_back({0x700C, Action, 0x0C, 0x00C3, 0, 0xFFFF, 0, kCB, {single, selected, "suppress:q0014==1 not"}, {}});
  password(0x7007, 0x00CD, {single, selected, "suppress:q0014 in 2 3 not"});
  password(0x7008, 0x00C1, {single, selected, "suppress:q0014 in 2 3 not"});
  password(0x7009, 0x00C3, {single, selected, "suppress:q0014 in 2 3 not"});
  e.push_back({0x700A, Action, 0x0C, 0x00DE, 0, 0xFFFF, 0, kCB, {single, selected}, {}});
  // Hidden state questions.
  const auto hidden = [&](std::uint16_t id, std::uint16_t store, std::uint16_t off, unsigned width = 1) {
    e.push_back({id, Numeric, 0x0C, 0, store, off, width, 0, {"disable:true"},
                 {width == 1 ? "range:0..255" : "range:0..4294967295"}});
  };
  hidden(0x0014, 6, 0x0044);
  hidden(0x001A, 6, 0x31CD);
  for (const auto& [index, id] : slotQ) hidden(id, 6, std::uint16_t(0x319D + index));
  for (int s = 0; s < 8; ++s) hidden(socketQ[s], 6, std::uint16_t(0x3195 + s));
  hidden(0x0054, 6, 0x0043);
  hidden(0x0055, 6, 0x31CE);
  hidden(0x0056, 4, 0x009);
  for (int s = 0; s < 8; ++s) {
    hidden(std::uint16_t(0x005E - s), 1, std::uint16_t(0x0E8 + s));
    hidden(std::uint16_t(0x0066 - s), 4, std::uint16_t(0x001 + s));
    hidden(std::uint16_t(0x0071 - s), 1, std::uint16_t(0x105 + s));
  }
  hidden(0x0067, 4, 0x000);
  hidden(0x0068, 1, 0x1EC);
  hidden(0x0069, 1, 0x1EB);
  hidden(0x0072, 2, 0xC4E, 4);
  hidden(0x0073, 1, 0x0F8, 4);
  return e;
}

// A question's help string is the one after its prompt, except where several
// questions share one help text, a help follows another prompt, or (hidden
// questions) there is none.
std::uint16_t ExpectedHelp(const Expect& x) {
  if (x.prompt == 0) return 0;
  if (x.id >= 0x2000 && x.id <= 0x2007) return 0x004B;
  if (x.id >= 0x2010 && x.id <= 0x2017) return 0x004C;
  if (x.id >= 0x2040 && x.id <= 0x2047) return 0x005E;
  if (x.id >= 0x7E01 && x.id <= 0x7E30) return std::uint16_t(0x0118 + (x.id - 0x7E01));
  const std::map<std::uint16_t, std::uint16_t> other = {
      {0x0012, 0x0012}, {0x0018, 0x0012}, {0x000E, 0x003F}, {0x6009, 0x00B0},
      {0x700B, 0x00C6}, {0x700C, 0x00C6}, {0x7005, 0x00C5}, {0x7009, 0x00C5},
  };
  const auto found = other.find(x.id);
  return found != other.end() ? found->second : std::uint16_t(x.prompt + 1);
}

class SetupFormLayout : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    boot_ = new SetupBoot();
    ASSERT_EQ(boot_->List().formPackages.size(), 1u);
    walk_ = new Walk(Read(boot_->List().formPackages[0]));
  }
  static void TearDownTestSuite() {
    delete walk_;
    delete boot_;
  }
  static inline SetupBoot* boot_ = nullptr;
  static inline Walk* walk_ = nullptr;
};

TEST_F(SetupFormLayout, FormSetHeaderStoresFormsAndLabels_AsLaidOut) {
  const auto& fs = walk_->formSet;
  ASSERT_EQ(fs.size(), 39u) << "one class GUID";
  EXPECT_EQ(std::memcmp(fs.data() + 2, &kSetupFormSetGuid, 16), 0);
  EXPECT_EQ(U16(&fs[18]), 0x0002);
  EXPECT_EQ(U16(&fs[20]), 0x0003);
  const std::uint8_t platformSetup[16] = {0x71, 0x99, 0x03, 0x93, 0x45, 0x85, 0x04, 0x4B, 0xB4, 0x5E, 0x32, 0xEB, 0x83, 0x26, 0x04, 0x0E};
  EXPECT_EQ(std::memcmp(fs.data() + 23, platformSetup, 16), 0);

  using Store = std::tuple<std::uint16_t, std::string, std::uint16_t, std::uint32_t>;
  EXPECT_EQ(walk_->stores, (std::vector<Store>{{1, "SetupVar", 494, 0},
                                               {2, "SetupDimmDetailsVar", 3154, 0},
                                               {3, "SetupRegionDetailsVar", 306, 0},
                                               {4, "SetupPendingGoalDetailsVar", 2230, 0},
                                               {5, "SetupNamespaceDetailsVar", 396, 0},
                                               {6, "SetupSecurityDetailsVar", 12751, 0},
                                               {7, "CarvekConfigVar", 4, 7}}));
  EXPECT_EQ(walk_->forms, (std::vector<std::uint16_t>{0x01, 0x0D, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0B, 0x0A, 0x0C}));
  using Labels = std::map<std::uint16_t, std::vector<std::uint16_t>>;
  EXPECT_EQ(walk_->labels, (Labels{{0x02, {0x0001, 0xFFFF}}, {0x06, {0x0003, 0xFFFF}}, {0x09, {0x0005, 0xFFFF}}, {0x0B, {0x0004, 0xFFFF}}}));
}

TEST_F(SetupFormLayout, EveryQuestion_IdentifierTextsStorageWidthFlagsConditions) {
  EXPECT_TRUE(walk_->duplicates.empty());
  const auto expected = Layout();
  std::set<std::uint16_t> seen;
  for (const Expect& x : expected) {
    SCOPED_TRACE(Q(x.id));
    ASSERT_TRUE(seen.insert(x.id).second) << "listed twice in the test";
    const auto found = walk_->questions.find(x.id);
    ASSERT_NE(found, walk_->questions.end()) << "missing";
    const Question& q = found->second;
    EXPECT_EQ(q.op, x.op);
    EXPECT_EQ(q.form, x.form);
    EXPECT_EQ(q.prompt, x.prompt);
    EXPECT_EQ(q.help, ExpectedHelp(x));
    EXPECT_EQ(q.store, x.store);
    EXPECT_EQ(q.offset, x.offset);
    EXPECT_EQ(q.width, x.width);
    EXPECT_EQ(q.flags, x.flags);
    EXPECT_EQ(q.conditions, x.conditions);
    EXPECT_EQ(q.defaults, x.defaults);
    if (x.op == Goto) {
      EXPECT_EQ(q.target, x.target);
    }
  }
  for (const auto& [id, q] : walk_->questions) {
    EXPECT_TRUE(seen.count(id)) << Q(id) << " is not in the layout";
  }
}

TEST_F(SetupFormLayout, StringPackages_ElevenLanguagesEnglishComplete) {
  const auto& list = boot_->List();
  const std::vector<std::string> languages = {"en-US", "zh-Hans", "zh-Hant", "fr-FR", "de-DE", "it-IT",
                                              "ja-JP", "ko-KR", "pt-BR", "es-ES", "ru-RU"};
  const std::u16string names[] = {u"English", u"中文（简体）", u"中文（繁體）", u"Français", u"Deutsch", u"Italiano",
                                  u"日本語", u"한국어", u"Português (Brasil)", u"Español", u"Русский"};
  ASSERT_EQ(list.languages, languages);
  std::set<std::uint16_t> translated;
  for (const auto& [first, last] : std::vector<std::pair<int, int>>{{0x0001, 0x0011}, {0x0013, 0x0016}, {0x0018, 0x0032},
                                                                     {0x0039, 0x005E}, {0x0066, 0x00A5}, {0x00A9, 0x00E7},
                                                                     {0x0148, 0x0154}, {0x018F, 0x0196}, {0x0247, 0x024B}}) {
    for (int id = first; id <= last; ++id) translated.insert(std::uint16_t(id));
  }
  ASSERT_EQ(translated.size(), 239u);
  for (std::size_t l = 0; l < languages.size(); ++l) {
    SCOPED_TRACE(languages[l]);
    EXPECT_EQ(boot_->Hii().String(list.handle, 1, languages[l]), names[l]);
    for (std::uint16_t id = 2; id <= 0x024B; ++id) {
      const auto text = boot_->Hii().String(list.handle, id, languages[l]);
      if (l == 0) {
        EXPECT_TRUE(text.has_value()) << Q(id);
      } else {
        EXPECT_EQ(text.has_value(), translated.count(id) == 1)
            << Q(id) << (text.has_value() ? " is English only" : " is not translated");
      }
    }
    EXPECT_FALSE(boot_->Hii().String(list.handle, 0x024C, languages[l]).has_value()) << "one numbering ends at 0x024B";
  }

  const std::pair<std::uint16_t, std::u16string> english[] = {
      {0x0002, u"Intel Optane DCPMMs"},
      {0x0012, u""},
      {0x0043, u"  Processor 1"},
      {0x004D, u"Memory Mode [%]"},
      {0x0081, u"The persistent memory working model. It can be \u201cApp Direct\u201d type or \u201cApp Direct Not Interleaved\u201d type or mixed. "},
      {0x00A6, u"B"},
      {0x00B6, u"Invalid characters in Capacity."},
      {0x00E0, u"Processor 1"},
      {0x00E8, u""},
      {0x0154, u"Balanced Profile"},
      {0x018F, u"."},
      {0x0247, u"Error"},
      {0x0249, u"Info"},
      {0x024A, u"Deleting namespace will also delete all data from it. Do you want to continue?"},
      {0x024B, u"Do you want to continue modifying the namespace?"},
  };
  for (const auto& [id, text] : english) {
    EXPECT_EQ(boot_->Hii().String(list.handle, id, "en-US"), text) << Q(id);
  }
}

}  // namespace
}  // namespace carvex::test
