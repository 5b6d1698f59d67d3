/*
 * Shared by the text tests. The samples' code points, JIS X 0208 and
 * Shift_JIS bytes are from the published tables: odd and even rows, cells
 * either side of 0x5F/0x60, both lead ranges and their edges, trail bytes
 * 0x5C, 0x7E, 0x80, 0x9F and 0xFC.
 */
#ifndef PELNOR_TESTS_TEXT_TEST_H
#define PELNOR_TESTS_TEXT_TEST_H

#include <gtest/gtest.h>

#include <string.h>

#include <string>
#include <vector>

#include "text/codeconv.h"

struct JapaneseSample {
    wchar_t code_point;
    const char *jis;
    const char *sjis;
};

inline const JapaneseSample kJapaneseSamples[] = {
    {0x4E9C, "\x30\x21", "\x88\x9F"}, /* 亜 */ {0x65E5, "\x46\x7C", "\x93\xFA"}, /* 日 */
    {0x672C, "\x4B\x5C", "\x96\x7B"}, /* 本 */ {0x3042, "\x24\x22", "\x82\xA0"}, /* あ */
    {0x30BD, "\x25\x3D", "\x83\x5C"}, /* ソ */ {0x30DF, "\x25\x5F", "\x83\x7E"}, /* ミ */
    {0x30E0, "\x25\x60", "\x83\x80"}, /* ム */ {0x3000, "\x21\x21", "\x81\x40"}, /* ideographic space */
    {0x25C7, "\x21\x7E", "\x81\x9E"}, /* ◇ */ {0xFF5A, "\x23\x7A", "\x82\x9A"}, /* ｚ */
    {0x852D, "\x30\x7E", "\x88\xFC"}, /* 蔭 */ {0x6ECC, "\x5E\x7E", "\x9F\xFC"}, /* 滌 */
    {0x6F3E, "\x5F\x21", "\xE0\x40"}, /* 漾 */ {0x71FC, "\x5F\x7E", "\xE0\x9E"}, /* 燼 */
    {0x7199, "\x74\x26", "\xEA\xA4"}, /* 熙 */
};

/* 日本語 */
const std::string kNihongoJis = "F|K\\8l";
const std::string kNihongoSjis = "\x93\xFA\x96\x7B\x8C\xEA";

struct Conversion {
    std::string from, to;
};

/* Runs `convert` from a source of exactly its size (so a read past its NUL
 * shows under AddressSanitizer) into strlen + 1 bytes filled with 0xCC;
 * fails the test when the output is not NUL-terminated there. */
inline std::string ConvertLine(void (*convert)(const char *, char *), const std::string &line)
{
    std::vector<char> source(line.c_str(), line.c_str() + strlen(line.c_str()) + 1);
    std::vector<char> destination(source.size(), '\xCC');
    convert(source.data(), destination.data());
    size_t length = strnlen(destination.data(), destination.size());
    EXPECT_LT(length, destination.size()) << "output not NUL-terminated";
    return std::string(destination.data(), length);
}

inline std::string LineToSjis(const std::string &line)
{
    return ConvertLine(JisLineToSjis, line);
}

#endif
