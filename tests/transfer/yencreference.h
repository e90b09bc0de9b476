// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include "transfer/yenckernel.h"

#include <map>
#include <string>

/// What walkYenc() must do, one byte at a time.
inline YencProgress referenceWalk(std::span<const uchar> in, std::span<uchar> out)
{
    size_t produced = 0;
    size_t at = 0;
    for (; at < in.size(); ++at) {
        const size_t behind = in.size() - at - 1;
        switch (in[at]) {
        case '\r':
            break;
        case '\n':
            if (behind < 2 || (in[at + 1] == '=' && in[at + 2] == 'y'))
                return {at, produced};
            if (in[at + 1] == '.' && in[at + 2] == '.')
                ++at;
            break;
        case '=':
            if (behind < 1 || in[at + 1] == 0)
                return {at, produced};
            out[produced++] = static_cast<uchar>(in[++at] - 106);
            break;
        default:
            out[produced++] = static_cast<uchar>(in[at] - 42);
        }
    }
    return {at, produced};
}

/// A whole yEnc decoder, plain and slow, that writes into memory.
class YencReference {
public:
    /// @throws std::runtime_error  where the file cannot be sought
    void decode(std::string block);

    std::map<std::string, std::string> files;
    std::string name;
    size_t bytes = 0;
    bool ok = false;

private:
    bool begin(const std::string &line);
    void part(const std::string &line);
    void end(const std::string &line);
    void write();
    static std::string behind(const std::string &line, const std::string &key);

    int phase = 1;
    std::string leftover = "\n";
    std::string decoded; // of this block
    std::string all; // of this article
    size_t offset = 0;
};
