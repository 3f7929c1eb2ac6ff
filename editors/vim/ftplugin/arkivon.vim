" Settings for the Arkivon control language: :make checks the file, :ArkivonFormat lays it out.
if exists('b:did_ftplugin')
  finish
endif
let b:did_ftplugin = 1

setlocal expandtab shiftwidth=4 softtabstop=4 textwidth=120 formatoptions-=t
setlocal indentexpr=arkivon#Indent() indentkeys=0{,0},0),0],!^F,o,O
setlocal commentstring=//\ %s comments=:///,://
setlocal makeprg=arkc\ check\ %:S
setlocal errorformat=%f:%l:%c:\ %trror:\ %m,%f:%l:%c:\ %tarning:\ %m,%f:\ %trror:\ %m,%-G%.%#
setlocal formatexpr=arkivon#FormatExpr()
command! -buffer -bar ArkivonFormat call arkivon#Format(1, line('$'))

let b:undo_ftplugin = 'setlocal expandtab< shiftwidth< softtabstop< textwidth< formatoptions< indentexpr< indentkeys<'
      \ . ' commentstring< comments< makeprg< errorformat< formatexpr< | delcommand -buffer ArkivonFormat'

if has('nvim-0.7') && get(g:, 'arkivon_lsp', 1) && executable('arkc')
  lua require('arkivon').start()
endif
