" Settings for the Arkivon control language: :make checks the file, :ArkivonFormat lays it out.
if exists('b:did_ftplugin')
  finish
endif
let b:did_ftplugin = 1

setlocal expandtab shiftwidth=4 softtabstop=4 textwidth=120 formatoptions-=t cindent
setlocal cinoptions=l1,=0,:4 cinkeys=0{,0},0),0],!^F,o,O
setlocal commentstring=//\ %s comments=:///,://
setlocal makeprg=arkc\ check\ %:S
setlocal errorformat=%f:%l:%c:\ %trror:\ %m,%f:%l:%c:\ %tarning:\ %m,%f:\ %trror:\ %m,%-G%.%#
setlocal formatprg=arkc\ fmt\ -\ 2>/dev/null

" The whole file. Where arkc refuses it, the text stays and the reason is shown.
function! s:Format() abort
  let l:name = empty(expand('%')) ? 'buffer.src' : expand('%')
  let l:problems = tempname()
  let l:lines = systemlist('arkc fmt - --stdin-name ' . shellescape(l:name) . ' 2>' . shellescape(l:problems),
        \ getline(1, '$'))
  if v:shell_error
    echoerr get(filereadable(l:problems) ? readfile(l:problems) : [], 0, 'arkc cannot be run')
  elseif l:lines !=# getline(1, '$')
    let l:view = winsaveview()
    call setline(1, l:lines)
    if line('$') > len(l:lines)
      execute 'silent ' . (len(l:lines) + 1) . ',$delete _'
    endif
    call winrestview(l:view)
  endif
  call delete(l:problems)
endfunction
command! -buffer -bar ArkivonFormat call s:Format()

let b:undo_ftplugin = 'setlocal expandtab< shiftwidth< softtabstop< textwidth< formatoptions< cindent< cinoptions<'
      \ . ' cinkeys< commentstring< comments< makeprg< errorformat< formatprg< | delcommand -buffer ArkivonFormat'
