" Checks the rows of expected.tsv (in the directory of this script) and
" writes every mismatch to the file named by g:report; exits non-zero when
" there is one.
let s:dir = expand('<sfile>:p:h')
let s:failures = []
for s:row in readfile(s:dir . '/expected.tsv')
  if s:row =~# '^#' || s:row ==# ''
    continue
  endif
  let [s:file, s:where, s:what; s:rest] = split(s:row, '\t', 1) + ['']
  let s:line = str2nr(s:where)
  if s:file ==# 'filetype'
    execute 'silent noautocmd enew | silent file ' . fnameescape(s:where)
    doautocmd BufRead
    if &filetype !=# s:what
      call add(s:failures, printf('%s: filetype %s, expected %s', s:where, string(&filetype), s:what))
    endif
    continue
  endif
  if expand('%:p') !=# s:dir . '/' . s:file
    execute 'silent edit ' . fnameescape(s:dir . '/' . s:file)
  endif
  let s:col = stridx(getline(s:line), s:what)
  if s:col < 0
    call add(s:failures, printf('%s:%s: no %s on this line', s:file, s:where, string(s:what)))
    continue
  endif
  for s:i in range(len(s:what))
    let s:group = synIDattr(synID(s:line, s:col + s:i + 1, 1), 'name')
    if s:group !=# s:rest[0]
      call add(s:failures, printf('%s:%s:%d: %s in %s is %s, expected %s', s:file, s:where, s:col + s:i + 1,
            \ string(s:what[s:i]), string(s:what), s:group ==# '' ? 'no group' : s:group, s:rest[0]))
      break
    endif
  endfor
endfor
call writefile(s:failures, g:report)
execute empty(s:failures) ? 'qall!' : 'cquit!'
