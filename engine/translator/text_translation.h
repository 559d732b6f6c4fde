// Translates whole texts: splits them into lines and sentences, has a handle
// translate each sentence, and puts the results together. One output line for
// each input line that is not empty, sentences of a line joined by one space.
//
// Free functions; the handle's rules for threads and errors hold.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/align.h"
#include "textProcess/lang_type.h"
#include "translator/trans_impl.h"

namespace koralite::translator {

// Whether texts in this language can be split into sentences, so translated.
bool can_split(textProcess::LangType source);

// Whether texts can be translated from one language to the other: their sentences can be split and
// the target has a chain of text steps.
bool can_translate(textProcess::LangType source, textProcess::LangType target);

// The sentences of one line, in order; together they are the line.
std::vector<std::string> split_sentences(const std::string& line, textProcess::LangType source);

// Translates a text. `output` is emptied first and grows line by line, so that
// what was finished before an exception is kept. False, at the first line that is
// not empty, when sentences of this language cannot be split.
bool translate_text(TransImpl& handle, textProcess::LangType source, std::string_view input,
                    std::string& output);

// The same with links between the bytes of the input and of the output, in order
// of the output.
bool translate_text(TransImpl& handle, textProcess::LangType source, std::string_view input,
                    std::string& output, std::vector<common::align_t>& alignment);

}  // namespace koralite::translator
