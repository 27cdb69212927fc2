# Completion of rvcheck for bash.
_rvcheck() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} choices= done=
  # The word after "=" belongs to the option before it.
  if [ "$word" = = ]; then
    word=
  elif [ "$before" = = ]; then
    before=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  case $before in
    --json)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      return
      ;;
    --only)
      choices="labels series prices sizes transit order_criteria customers titles countries master ean
        order_numbers barcodes journals"
      ;;
    --entry) choices="11 12 13" ;;
    -j | --jobs | --wait) return ;;
    --keep | --backup | --report) ;;
    *)
      if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "--yes --no --rehearse --keep --backup --only --entry --report --json
          --jobs --wait --progress --quiet --marker --list --help --version -y -n -j -q" -- "$word")
        return
      fi
      ;;
  esac
  if [ -n "$choices" ]; then
    # A list: what stands before the last comma stays.
    [[ $word == *,* ]] && done=${word%,*},
    compopt -o nospace
    mapfile -t COMPREPLY < <(compgen -P "$done" -W "$choices" -- "${word##*,}")
  else
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -d -- "$word")
  fi
}
complete -F _rvcheck rvcheck
