/* Shift_JIS bytes used by the store tests (byte-level: no windows.h). */
#ifndef PELNOR_TEST_SJIS_SAMPLES_H
#define PELNOR_TEST_SJIS_SAMPLES_H

#define SJIS_YAMADA "\x8E\x52\x93\x63"          /* 山田 */
#define SJIS_NIHONGO "\x93\xFA\x96\x7B\x8C\xEA" /* 日本語 */
#define SJIS_HYO "\x95\x5C"                     /* 表: trail byte is '\\' */

#endif
