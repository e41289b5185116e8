// How every GPIO_* member starts: the entry trace with its arguments, then the enclosure id
// turned into its identity for the back-end.
#pragma once
#include <initializer_list>

namespace bayhal::gpio {

// Traces "<func>: got called with(a).\n" or "(a, b).\n" (level 4).
void trace_entry(const char* func, std::initializer_list<long long> args);

// The identity of `enc_id` into sys_id[32]; false (nothing more to do: -1) when it cannot be
// looked up.
bool lookup(int enc_id, char (&sys_id)[32]);

// Trace, lookup, then op(identity); -1 when the lookup fails.
template <typename Op>
int by_identity(const char* func, int enc_id, std::initializer_list<long long> args, Op op) {
  trace_entry(func, args);
  char sys_id[32];
  if (!lookup(enc_id, sys_id)) return -1;
  return op(sys_id);
}

// A query whose answer comes through an output: the state, or -1.
template <typename Query>
int state_of(const char* func, int enc_id, Query query) {
  return by_identity(func, enc_id, {enc_id}, [&](const char* id) {
    int state = -1;
    return query(id, &state) < 0 ? -1 : state;
  });
}

}  // namespace bayhal::gpio
