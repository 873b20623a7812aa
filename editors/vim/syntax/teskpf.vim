" Vim syntax file for TeskPf parameter files.
" Highlighting only: the library's line lexer decides how a file reads.
" Lines are trimmed; a key runs to the first blank or tab; a "#" that does not
" follow a backslash starts a comment; a value "&Arr{" or "&Tbl{" opens a
" block that the next line starting with "}" closes; in a "&Tbl{" block a line
" has no key; a "}" at the top level ends the file.

if exists('b:current_syntax')
  finish
endif
let s:cpo_save = &cpo
set cpo&vim

syntax case match
" Blocks nest to any depth: read them from the top of the file.
syntax sync fromstart

" Comments: "#", then annotations when they follow it at once, then text.
syntax match teskpfComment /#/ nextgroup=teskpfAnnotation,teskpfCommentText
syntax match teskpfCommentText /.*/ contained
" Groups "<type>" or "<type>(words)", one character between groups; a group
" left open anywhere makes the whole comment plain text.
syntax match teskpfAnnotation contained nextgroup=teskpfCommentText
      \ contains=teskpfBadType,teskpfType,teskpfWords
      \ /<[^>]*>\%(([^)]*)\|(\@!\)\%(.<[^>]*>\%(([^)]*)\|(\@!\)\)*\%(.<\)\@!/
syntax match teskpfBadType /<\zs[^>]\+\ze>/ contained
syntax match teskpfType /<\zs\%(str\|int\|float\|color\|font\|regex\)\ze>/ contained
syntax match teskpfWords /([^)]*)/ contained contains=teskpfWord
syntax match teskpfWord /[^ ()]\+/ contained

" A value runs from its first character to the last one before the comment;
" "\#" is the one escape. A value "&Arr{" or "&Tbl{" opens a block instead.
let s:text = '\%(\\#\|[^# \t]\)\%(\%(\\#\|[^#]\)*\%(\\#\|[^# \t]\)\)\='
let s:not_opening = '\%(&\%(Arr\|Tbl\){\)\@!'
execute 'syntax match teskpfValue /' . s:not_opening . s:text . '/ contained contains=teskpfEscape'
      \ . ' nextgroup=teskpfComment skipwhite'
syntax match teskpfEscape /\\#/ contained

" A parameter: the key up to the first blank or tab, then its value.
syntax match teskpfKey /^\s*\zs\%(\\#\|[^ \t#]\)\+/ nextgroup=teskpfValue,teskpfComment skipwhite

" A member of a "&Tbl{" block: no key, the whole text before the comment.
execute 'syntax match teskpfMember /^\s*\zs' . s:not_opening . s:text . '/ contained'
      \ . ' contains=teskpfEscape nextgroup=teskpfComment skipwhite'

" Blocks. The marker after a key (or alone on a list member's line) starts
" the block; text between the brace and the comment is dropped by the reader,
" and so is everything after the closing brace on its line.
syntax cluster teskpfArrLines contains=teskpfKey,teskpfComment,teskpfArr,teskpfTbl,teskpfOpenBrace
syntax cluster teskpfTblLines contains=teskpfMember,teskpfComment,teskpfMemberArr,teskpfMemberTbl,teskpfOpenBrace
let s:keyed = '\%(^\s*\%(\\#\|[^ \t#]\)\+[ \t]\s*\)\@<='
let s:alone = '\%(^\s*\)\@<='
let s:end = 'matchgroup=teskpfBrace end=/^\s*\zs}/ nextgroup=teskpfClosingRest fold'
execute 'syntax region teskpfArr matchgroup=teskpfMarker start=/' . s:keyed . '&Arr\ze{/ ' . s:end . ' contains=@teskpfArrLines'
execute 'syntax region teskpfTbl matchgroup=teskpfMarker start=/' . s:keyed . '&Tbl\ze{/ ' . s:end . ' contains=@teskpfTblLines'
execute 'syntax region teskpfMemberArr contained matchgroup=teskpfMarker start=/' . s:alone . '&Arr\ze{/ ' . s:end . ' contains=@teskpfArrLines'
execute 'syntax region teskpfMemberTbl contained matchgroup=teskpfMarker start=/' . s:alone . '&Tbl\ze{/ ' . s:end . ' contains=@teskpfTblLines'
syntax match teskpfOpenBrace /\%(&\%(Arr\|Tbl\)\)\@<={/ contained nextgroup=teskpfIgnored skipwhite
execute 'syntax match teskpfIgnored /' . s:text . '/ contained'
syntax match teskpfClosingRest /.\+/ contained

" A closing brace at the top level ends the file: nothing after it is read.
syntax region teskpfEndOfFile matchgroup=teskpfBrace start=/^\s*\zs}/ end=/\%$/

highlight default link teskpfComment Comment
highlight default link teskpfCommentText Comment
highlight default link teskpfAnnotation Special
highlight default link teskpfType Type
highlight default link teskpfBadType Error
highlight default link teskpfWords Delimiter
highlight default link teskpfWord Constant
highlight default link teskpfKey Identifier
highlight default link teskpfValue String
highlight default link teskpfMember String
highlight default link teskpfEscape SpecialChar
highlight default link teskpfMarker Keyword
highlight default link teskpfOpenBrace Delimiter
highlight default link teskpfBrace Delimiter
highlight default link teskpfIgnored Comment
highlight default link teskpfClosingRest Comment
highlight default link teskpfEndOfFile Comment

let b:current_syntax = 'teskpf'
let &cpo = s:cpo_save
unlet s:cpo_save s:text s:not_opening s:keyed s:alone s:end
