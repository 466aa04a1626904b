// SPDX-License-Identifier: Apache-2.0
//
// Standard output and standard error, led into memory as long as it lives.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace fuzz
{

class captured_streams
{
public:
    captured_streams()
    {
        stdout = open_memstream(&out_.text, &out_.size);
        stderr = open_memstream(&err_.text, &err_.size);
    }
    ~captured_streams()
    {
        give_back();
        std::free(out_.text);
        std::free(err_.text);
    }
    captured_streams(const captured_streams &) = delete;
    captured_streams &operator=(const captured_streams &) = delete;

    struct texts {
        std::string output, errors;
    };

    // Gives the streams back, and what was written.
    texts end()
    {
        give_back();
        return {{out_.text, out_.size}, {err_.text, err_.size}};
    }

private:
    struct stream {
        std::FILE *before;
        char *text = nullptr;
        std::size_t size = 0;
    };

    void give_back()
    {
        if (is_over_)
            return;
        is_over_ = true;
        std::fclose(stdout);
        std::fclose(stderr);
        stdout = out_.before;
        stderr = err_.before;
    }

    stream out_{stdout}, err_{stderr};
    bool is_over_ = false;
};

} // namespace fuzz
