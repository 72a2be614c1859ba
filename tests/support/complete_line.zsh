# Prints what the line of an interactive shell holds after TYPED and a tab: complete_line.zsh TYPED.
folder=$(mktemp -d)
kzv completion zsh >$folder/_kzv
zmodload zsh/zpty
zpty line zsh -f -i
zpty -w line "fpath=($folder \$fpath); PS1=; autoload -Uz compinit; compinit -u -D"
zpty -w line 'show() { print -r -- "<$BUFFER>"; exit }; zle -N show; bindkey "^X" show; print -r REA""DY'
zpty -r line seen '*READY*'
zpty -w -n line "$1"$'\t\x18'
zpty -r line seen '*<kzv*>*'
rm -r $folder
print -r -- "${${seen##*<}%%>*}"
