" Runs Vim's files with the real arkc; see editors.sh. What is wrong is written to $REPORT.
set encoding=utf-8
let &runtimepath = $EDITORS . '/vim,' . &runtimepath
filetype plugin on
syntax on

" [line, word, the group it must be coloured as; empty: none]
let s:cases = [
      \ ["INTEGER x", 'INTEGER', 'Type'], ["device d = 5001:1:0", '5001', 'Device'], ["x = $0D + 0xFF", '0D', 'Number'],
      \ ["x = $0D + 0xFF", '0xFF', 'Number'], ["x.integer = 1", 'integer', 'Member'], ["n = level.value", 'level', 'EventData'],
      \ ["n = level.value", 'value', 'Member'], ["on [d, 1]", 'on', 'DeviceWord'], ["on = 1", 'on', ''],
      \ ["    push: { }", 'push', 'Event'], ["push = 1", 'push', ''], ["hold [3, repeat]: { x }", 'repeat', 'Repeat'],
      \ ["s = 'it''s' x", "''", 'Text'], ["s = 'it''s' x", 'x', ''], ["s = 'a // b'", '//', 'Text'],
      \ ["s = \"'a', itoa(n)\"", 'itoa', 'Function'], ["(* while *) while", 'while', 'Comment'],
      \ ["s = 'no end", 'end', 'Text'], ["exclusive [d, 11..14]", '14', 'Number'], ["integer größe", 'größe', ''],
      \ ["start {", 'start', 'Event'], ["x = $0d // while", 'while', 'Comment'], ["to = nothing", 'to', '']]
edit! words.src
call setline(1, map(copy(s:cases), 'v:val[0]'))
for s:at in range(len(s:cases))
  let [s:line, s:word, s:group] = s:cases[s:at]
  let s:name = synIDattr(synID(s:at + 1, stridx(s:line, s:word) + 1, 1), 'name')
  call assert_equal(empty(s:group) ? '' : 'arkivon' . s:group, s:name, s:line . ': ' . s:word)
endfor

" :make fills the list, from a folder above too.
edit! sub/room.src
call assert_equal('arkivon', &filetype)
silent make!
let s:found = filter(getqflist(), 'v:val.valid')
call assert_equal([['sub/room.src', 2, 9, 'e'], ['sub/lamp.src', 1, 17, 'e']],
      \ map(copy(s:found), '[bufname(v:val.bufnr), v:val.lnum, v:val.col, v:val.type]'))

" The layout: of the file, of lines inside a block, of none that arkc refuses.
edit! whole.src
call setline(1, ['start{n=1', 'm=2}', '', 'start{', 'x=1;y=2', '}'])
ArkivonFormat
let s:laid = ['start', '{', '    n = 1', '    m = 2', '}', '', 'start', '{', '    x = 1', '    y = 2', '}']
call assert_equal(s:laid, getline(1, '$'))
call setline(9, ['    x=1', '    y=2'])
normal! 9Ggqj
call assert_equal(s:laid, getline(1, '$'))
call setline(9, '    if (x) {')
normal! 9Ggqj
call assert_equal(['    if (x) {', '    y = 2', '}'], getline(9, '$'))
call assert_match('whole.src:9:', execute('1messages'))

" A whole program typed without one blank at a line's begin.
edit! typed.src
let s:typed = ['button_event [dv, 1]', '{', '    push: {', '        on [dv, 1]', "        // it's (so", '        if (x = 1) {',
      \ "            y = 'a{'", '        }', '        switch (n) {', '            case 1: { x = 1 }', '            default: {',
      \ '                y = f(', '                    2', '                )', '            }', '        }', '    }',
      \ '    hold [3, repeat]: { n++ }', '}', '/* one (', 'two */', 'start {', '    x = a[1] }', 'mainline { }']
execute 'normal! i' . join(map(copy(s:typed), 'trim(v:val)'), "\<CR>")
call assert_equal(s:typed, getline(1, '$'))

call writefile(v:errors, $REPORT)
qall!
