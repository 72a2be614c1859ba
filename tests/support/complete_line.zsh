# Prints the line of an interactive shell after the words typed and a tab: complete_line.zsh FOLDER TYPED.
# The folder contains the completions.
zmodload zsh/zpty
zpty line zsh -f -i
zpty -w line "fpath=($1 \$fpath); PS1=; autoload -Uz compinit; compinit -u -D"
zpty -w line 'show() { print -r -- "<$BUFFER>"; exit }; zle -N show; bindkey "^X" show; print -r REA""DY'
zpty -r line seen '*READY*'
zpty -w -n line "$2"$'\t\x18'
zpty -r line seen '*<kzv*>*'
print -r -- "${${seen##*<}%%>*}"
