/*
 * HeaderBlock: the kept header lines of one article, back to back with
 * their CR LF, as they are written to the group's log (or as they were
 * read back from it). While lines are added it notes where the Subject,
 * From, Date and "Newsgroup: " lines stand and the number of the
 * "X-Local-Seq:" line, which is what the index record is made from.
 *
 * Byte-level: no windows.h, so it also builds natively for the sanitizers
 * and the fuzzer. Errors go through SetByteError.
 */
#ifndef PELNOR_HEADER_BLOCK_H
#define PELNOR_HEADER_BLOCK_H

#include <stddef.h>
#include <stdint.h>

enum : uint32_t {
    kHeaderBlockStep = 2048,      /* first size and growth step */
    kNoHeaderLine = 0xFFFFFFFFu,  /* a line offset or number that is absent */
};

struct HeaderBlock {
    char *buffer;          /* owned; the lines, NUL-terminated */
    char *buffer_end;      /* end of the usable buffer */
    char *write_position;  /* where the next line goes */
    uint32_t capacity;     /* bytes allocated */
    uint32_t subject_line; /* offsets in the buffer, or kNoHeaderLine */
    uint32_t from_line;
    uint32_t date_line;
    uint32_t sequence;     /* X-Local-Seq number, or kNoHeaderLine */
    uint32_t newsgroup_line;
    uint32_t subject_length;   /* bytes of the subject line, CR LF and joined continuations included */
    uint32_t newsgroup_length;
    int in_subject;        /* the last new line was the subject line */
    int in_newsgroup;
    int joined;            /* a continuation line was joined since Prepare */
};

/* No buffer; every offset absent. */
void HeaderBlockInit(HeaderBlock *block);
/* Empties the block for a new article, allocating the first 2048 bytes when
 * there is no buffer yet (an existing buffer is kept). 0 with error 8. */
int HeaderBlockPrepare(HeaderBlock *block);
void HeaderBlockFree(HeaderBlock *block);

/* Adds a new header line of `length` bytes (normally ending in CR LF).
 * Line names are tested byte for byte: "Subject: ", "Newsgroup: " (the
 * singular form; "Newsgroups:" is not it), "X-Local-Seq:", "Date:" and
 * "From:"; a later line of the same name wins. 0 with error 8. */
int HeaderBlockAddLine(HeaderBlock *block, const char *line, size_t length);
/* Joins a continuation line to the previous line: the previous CR LF is
 * overwritten and the continuation's leading blanks and tabs dropped. */
int HeaderBlockAddContinuation(HeaderBlock *block, const char *line, size_t length);
/* A line starting with a blank or tab is a continuation, any other a new
 * header line. `line` is NUL-terminated. */
int HeaderBlockAdd(HeaderBlock *block, const char *line);

/* Bytes held (from the buffer start to the write position). */
inline size_t HeaderBlockSize(const HeaderBlock *block)
{
    return (size_t)(block->write_position - block->buffer);
}

#endif
