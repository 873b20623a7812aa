" TeskPf parameter files. Vim itself gives "*.pf" no file type (it knows
" "pf.conf", which this pattern does not match); setfiletype leaves alone a
" file type that an earlier rule has already set.
autocmd BufNewFile,BufRead *.pf setfiletype teskpf
