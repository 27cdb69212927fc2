// Reads the files of a shop byte by byte, without the project's own record types: what is tested here is
// that those types, and what was put in them, are what the files are known to hold.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

struct Bytes {
    std::string data;

    explicit Bytes(const std::filesystem::path &path) {
        std::ifstream stream(path, std::ios::binary);
        data.assign(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    }
    [[nodiscard]] std::size_t size() const {
        return data.size();
    }
    [[nodiscard]] unsigned u8(std::size_t at) const {
        return static_cast<unsigned char>(data.at(at));
    }
    [[nodiscard]] unsigned u16(std::size_t at) const {
        return u8(at) | u8(at + 1) << 8;
    }
    [[nodiscard]] std::uint32_t u32(std::size_t at) const {
        return u16(at) | u16(at + 2) << 16;
    }
    [[nodiscard]] std::int32_t i32(std::size_t at) const {
        return static_cast<std::int32_t>(u32(at));
    }
    /// Text up to its first zero byte, `width` characters at most.
    [[nodiscard]] std::string text(std::size_t at, std::size_t width) const {
        return std::string(data.substr(at, width).c_str());
    }
    [[nodiscard]] bool zero(std::size_t at, std::size_t width) const {
        return data.find_first_not_of('\0', at) >= at + width;
    }
    [[nodiscard]] bool bit(std::size_t at, unsigned index) const {
        return (u8(at + index / 8) >> (index % 8) & 1) != 0;
    }
};
