autocmd BufNewFile,BufRead *.src set filetype=arkivon
