" Lays out lines of the Arkivon control language with arkc. Where arkc refuses them, they stay and the reason is shown.

" Whole lines of a buffer; those of an inner block keep the indent of their first one.
function! arkivon#Format(first, last) abort
  let l:old = getline(a:first, a:last)
  let l:name = empty(expand('%')) ? 'buffer.src' : expand('%')
  let l:problems = tempname()
  let l:new = systemlist('arkc fmt - --stdin-name ' . shellescape(l:name) . ' 2>' . shellescape(l:problems), l:old)
  let l:reason = get(filereadable(l:problems) ? readfile(l:problems) : [], 0, 'arkc cannot be run')
  call delete(l:problems)
  if v:shell_error
    echohl ErrorMsg | echomsg s:InBuffer(l:reason, a:first) | echohl None
    return
  endif
  let l:indent = matchstr(getline(nextnonblank(a:first)), '^\s*')
  call map(l:new, 'empty(v:val) ? v:val : l:indent . v:val')
  if l:new !=# l:old
    let l:view = winsaveview()
    call setline(a:first, l:new[: len(l:old) - 1])
    call append(a:last, l:new[len(l:old) :])
    if len(l:new) < len(l:old)
      execute 'silent ' . (a:first + len(l:new)) . ',' . a:last . 'delete _'
    endif
    call winrestview(l:view)
  endif
endfunction

" arkc counts from the first line that it was given.
function! s:InBuffer(reason, first) abort
  return substitute(a:reason, ':\zs\d\+\ze:\d\+:', '\=submatch(0) + a:first - 1', '')
endfunction

" For gq. While a line is typed Vim breaks comments itself.
function! arkivon#FormatExpr() abort
  if mode() =~# '[iR]'
    return 1
  endif
  call arkivon#Format(v:lnum, v:lnum + v:count - 1)
  return 0
endfunction

" What is left of a line without texts and comments.
function! s:Code(lnum) abort
  let l:line = substitute(getline(a:lnum), "'\\%([^']\\|''\\)*'", '', 'g')
  return substitute(l:line, '/\*.\{-}\*/\|(\*.\{-}\*)\|//.*', '', 'g')
endfunction

" Brackets alone decide, four blanks for a line that leaves some open: no semicolon ends a statement here, which is what
" cindent goes by. Inside a comment the line above does.
function! arkivon#Indent() abort
  let l:above = prevnonblank(v:lnum - 1)
  let l:group = l:above ? synIDattr(synID(l:above, max([1, col([l:above, '$']) - 1]), 1), 'name') : ''
  let l:line = getline(l:above)
  if l:group ==# 'arkivonComment' && l:line !~# '//\|\*[/)]\s*$'
    return indent(l:above)
  endif
  let [l:opened, l:closed] = [0, 0]
  let l:code = substitute(s:Code(l:above), '^[ \t})\]]*', '', '') " those in front have moved the line above itself
  for l:bracket in split(substitute(l:code, '[^{}()\[\]]', '', 'g'), '\zs')
    if l:bracket =~# '[{(\[]'
      let l:opened += 1
    elseif l:opened
      let l:opened -= 1
    else
      let l:closed += 1
    endif
  endfor
  let l:closes = getline(v:lnum) =~# '^\s*[})\]]'
  return max([0, indent(l:above) + shiftwidth() * ((l:opened > 0) - l:closed - l:closes)])
endfunction
