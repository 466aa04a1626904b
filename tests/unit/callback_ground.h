// SPDX-License-Identifier: Apache-2.0
//
// The ground of the tests of what a callback may call back: sinks and decoders that do one deed,
// once, at the first message that begins with a given text.
#pragma once

#include "rules.h"
#include "varn_fixture.h"

#include <functional>
#include <string>
#include <utility>

struct trap {
    std::string message; // what the message begins with
    std::function<void()> deed;
};

inline trap &the_trap()
{
    static trap kept;
    return kept;
}

inline void spring(const char *message)
{
    if (the_trap().deed && std::string(message).starts_with(the_trap().message))
        std::exchange(the_trap().deed, nullptr)();
}

inline void springing_debug_print(const char *format, ...) { spring(format); }
inline void springing_debug_print_arg(std::uintptr_t, const char *format, ...) { spring(format); }
inline void springing_error_print(const char *format, ...) { spring(format); }
inline void springing_error_cb(std::uintptr_t, const char *, const char *, int, const char *text)
{
    spring(text);
}
inline void springing_print(std::uintptr_t, const char *format, ...) { spring(format); }
inline u32 springing_decoder(const void *, u32 size)
{
    spring("decoder");
    return 0x50 + size;
}
inline void springing_extn_free(u32) { spring("extn_free"); }

class callback_test : public varn_test
{
protected:
    static constexpr u32 port7 = 0x1a000007;
    static constexpr u32 channel3 = 0x16000003;

    callback_test()
    {
        given(port(7).access(20).private_data(0x11, {1, 2, 3}), port(8), port(9),
              port_channel(3).members({port7}), svi(20), vlan(20));
    }
    ~callback_test() override { the_trap() = {}; }

    // Every attribute cached, every callback a trap that is not set.
    void start_with_traps()
    {
        start(config()
                  .sync(all_entry_bits | bits(30, 31, 32, 33))
                  .med(all_entry_bits)
                  .uuid(0x11)
                  .track_l3(1)
                  .on_create([](u32) { spring("on_create"); }));
        varn.config.debug_print_arg = springing_debug_print_arg;
        varn.config.error_cb = springing_error_cb;
        varn.config.print = springing_print;
        varn.config.extn_free = springing_extn_free;
        for (auto &decoder : varn.config.extn_decode)
            decoder = springing_decoder;
        varn_error_cb = 1;
    }

    static void at(const char *message, std::function<void()> deed)
    {
        the_trap() = {message, std::move(deed)};
    }
    static bool is_sprung() { return !the_trap().deed; }
};
