// SPDX-License-Identifier: Apache-2.0
//
// live_view.h: the figures of this process as they change: a full screen on a terminal, one line a
// second elsewhere.
#ifndef VARNSH_LIVE_VIEW_H
#define VARNSH_LIVE_VIEW_H

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "figures.h"
#include "terminal.h"

namespace shell
{

class live_view
{
public:
    explicit live_view(std::string socket);

    // `trouble`: why something was not answered, or empty.
    void show(const figures &now, u64 notices, const std::string &trouble);

    // Fits what was shown into a screen that has another size by now.
    void follow_size();

private:
    struct moment {
        std::chrono::steady_clock::time_point at;
        figures counted;
        u64 notices;
    };

    std::vector<std::string> frame() const;
    std::string heading() const;
    void draw();
    void print_line() const;
    double seconds() const;

    std::string socket_, trouble_;
    std::optional<full_screen> screen_;
    moment before_{}, now_{};
    bool has_before_ = false;
    extent size_{};
};

} // namespace shell

#endif
