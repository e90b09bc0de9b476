// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "transfer/yencreference.h"

#include <stdexcept>
#include <zlib.h>

void YencReference::decode(std::string block)
{
    if (phase == 3)
        return;
    block.insert(0, leftover);
    leftover.clear();
    decoded.clear();
    const size_t size = block.size();
    block.push_back('\0');
    size_t i = 0;
    while (i < size) {
        const char c = block[i];
        if (c == '\r') {
            i += 1;
        } else if (c == '=') {
            if (block[i + 1] == '\0')
                leftover = "=";
            else
                decoded.push_back(static_cast<char>(block[i + 1] - 64 - 42));
            i += 2;
        } else if (c != '\n') {
            decoded.push_back(static_cast<char>(c - 42));
            i += 1;
        } else if (i + 2 >= size) {
            leftover = block.substr(i, size - i);
            break;
        } else if (block.compare(i, 3, "\n..") == 0) {
            i += 2;
        } else if (block.compare(i, 3, "\n=y") != 0) {
            i += 1;
        } else {
            const size_t lf = block.find('\n', i + 1);
            if (lf == std::string::npos) {
                leftover = block.substr(i, size - i);
                break;
            }
            const std::string line = block.substr(i + 1, lf - i - 1);
            if (line.starts_with("=ybegin ") && !begin(line)) {
                block[lf] = '\0';
                i += 2;
                continue;
            }
            if (line.starts_with("=ypart "))
                part(line);
            if (line.starts_with("=yend"))
                return end(line);
            i = lf - 1;
        }
    }
    if (phase == 2)
        write();
}

bool YencReference::begin(const std::string &line)
{
    if (line.find(" name=") == std::string::npos)
        return false;
    name = line.substr(line.find(" name=") + 6);
    std::erase(name, '\r');
    offset = 0;
    std::string &file = files[name];
    const size_t size = std::strtoul(behind(line, " size=").c_str(), nullptr, 10);
    file.resize(std::max(file.size(), size));
    phase = 2;
    decoded.clear();
    return true;
}

void YencReference::part(const std::string &line)
{
    if (line.find(" begin=") == std::string::npos || phase != 2)
        return;
    offset = std::strtoul(behind(line, " begin=").c_str(), nullptr, 10) - 1;
    if (offset + 1 == 0)
        throw std::runtime_error("seek");
}

void YencReference::end(const std::string &line)
{
    if (phase == 2)
        write();
    const auto crc =
        crc32(0, reinterpret_cast<const Bytef *>(all.data()), static_cast<uInt>(all.size()));
    const bool complete =
        line.find(" size=") != std::string::npos && line.find(" crc32=") != std::string::npos;
    ok = phase == 2 && complete
         && std::strtoul(behind(line, " size=").c_str(), nullptr, 10) == bytes
         && std::strtoul(behind(line, " crc32=").c_str(), nullptr, 16) == crc;
    phase = 3;
}

void YencReference::write()
{
    std::string &file = files[name];
    if (!decoded.empty())
        file.resize(std::max(file.size(), offset + decoded.size()));
    file.replace(decoded.empty() ? 0 : offset, decoded.size(), decoded);
    offset += decoded.size();
    bytes += decoded.size();
    all += decoded;
    decoded.clear();
}

std::string YencReference::behind(const std::string &line, const std::string &key)
{
    const size_t at = line.find(key);
    return at == std::string::npos ? std::string() : line.substr(at + key.size());
}
