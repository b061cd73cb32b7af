#pragma once

// What a faulty bundle does wrong. FAULT(name): one fault each, a module of that name.
#define FAULT_LIST(FAULT)                                                                          \
    FAULT(none)                                                                                    \
    FAULT(no_factory)                                                                              \
    FAULT(entry_unknown)                                                                           \
    FAULT(not_reloadable)                                                                          \
    FAULT(listed_twice)                                                                            \
    FAULT(factory_crash)                                                                           \
    FAULT(factory_code)                                                                            \
    FAULT(few_instances)                                                                           \
    FAULT(needs_factory)                                                                           \
    FAULT(leak)                                                                                    \
    FAULT(foreign_id)                                                                              \
    FAULT(describe_writes)                                                                         \
    FAULT(unknown_accepted)                                                                        \
    FAULT(unknown_writes)                                                                          \
    FAULT(declared_refused)                                                                        \
    FAULT(refused_code)                                                                            \
    FAULT(proposes_nothing)                                                                        \
    FAULT(pins_no_room)                                                                            \
    FAULT(value_range)                                                                             \
    FAULT(text_code)                                                                               \
    FAULT(norm_half)                                                                               \
    FAULT(text_drifts)                                                                             \
    FAULT(life_crash)                                                                              \
    FAULT(crash)                                                                                   \
    FAULT(hang)                                                                                    \
    FAULT(sample_crash)                                                                            \
    FAULT(writes_behind)                                                                           \
    FAULT(writes_before)                                                                           \
    FAULT(writes_input)                                                                            \
    FAULT(writes_event)                                                                            \
    FAULT(writes_unwanted)                                                                         \
    FAULT(state_garbage)                                                                           \
    FAULT(state_silent)                                                                            \
    FAULT(state_unclear)                                                                           \
    FAULT(not_written)                                                                             \
    FAULT(no_number)                                                                               \
    FAULT(denormal)                                                                                \
    FAULT(differs)                                                                                 \
    FAULT(allocates)                                                                               \
    FAULT(allocates_first)                                                                         \
    FAULT(locks)                                                                                   \
    FAULT(sleeps)                                                                                  \
    FAULT(process_code)                                                                            \
    FAULT(foreign_code)                                                                            \
    FAULT(throws)                                                                                  \
    FAULT(point_host)                                                                              \
    FAULT(point_plugin)                                                                            \
    FAULT(record)                                                                                  \
    FAULT(text_overrun)                                                                            \
    FAULT(pins_overrun)                                                                            \
    FAULT(rounding)

enum Fault {
#define FAULT(name) Fault_##name,
    FAULT_LIST(FAULT)
#undef FAULT
};

extern Fault const fault; // of this module
